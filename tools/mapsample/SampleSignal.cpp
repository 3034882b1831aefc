#include "SampleSignal.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <initializer_list>

#include "v2xshm-unit/LMMessageWriter.h"
#include "SampleIntersection.h"

namespace {

constexpr float NONE = LMPhaseStateBase::NO_TIME;
constexpr uint8_t CONFIDENCE = 15;  // as the controller sends it

// A light state from `start` to `end` seconds, give or take one second.
LMPhaseStateBase stateOf(uint8_t light, float start, float end)
{
    LMPhaseStateBase state;
    state.light = light;
    state.startTime = start;
    state.minEndTime = end - 1.0f;
    state.maxEndTime = end + 1.0f;
    state.likelyEndTime = end;
    state.timeConfidence = CONFIDENCE;
    state.nextStartTime = NONE;
    state.nextDuration = NONE;
    return state;
}

LMPhaseExtend phaseOf(uint8_t phaseID, std::initializer_list<LMPhaseStateBase> states)
{
    LMPhaseExtend phase;
    phase.phaseID = phaseID;
    for (const LMPhaseStateBase& state : states) {
        phase.phaseStates[state.light] = state;
    }
    return phase;
}

LMTrafficLightExtend lightOf(int64_t id, std::initializer_list<LMPhaseExtend> phases)
{
    LMTrafficLightExtend light;
    light.id = id;
    light.status[0] = 0x00;
    light.status[1] = 0x00;
    light.timeStamp = 1200;  // as the controller sends it
    light.timeConfidence = CONFIDENCE;
    for (const LMPhaseExtend& phase : phases) {
        light.phases[phase.phaseID] = phase;
    }
    return light;
}

LMPointBase pointAt(double east, double north)
{
    LMPointBase point;
    static_cast<GeoCoordinates&>(point) = SampleIntersection::at(east, north);
    return point;
}

LMRSIExtend rsiOf(int16_t infoID, int32_t code, const char* text, std::initializer_list<LMPointBase> points)
{
    LMRSIExtend rsi;
    rsi.infoID = infoID;
    rsi.attrInt = code;
    rsi.attrShort = 0;
    memcpy(rsi.text, text, strnlen(text, LMRSIBase::TEXT_LEN - 1));
    rsi.attrByte = 1;
    rsi.attrFloat = 0.0f;
    rsi.points = points;
    static_cast<GeoCoordinates&>(rsi.position) = *points.begin();
    return rsi;
}

}  // namespace

std::vector<LMTrafficLightExtend> SampleSignal::lights()
{
    const uint8_t R = LIGHT_RED;
    const uint8_t G = LIGHT_GREEN;
    const uint8_t Y = LIGHT_YELLOW;
    // Centre node, one cycle from reception: all red to 4 s, Mill Rd through
    // green to 60 s, Mill Rd left turns 63 to 73 s, Harbour St left turns 76
    // to 86 s, Harbour St through from 89 s.
    LMTrafficLightExtend centre =
        lightOf(SampleIntersection::CENTRE_NODE,
                {phaseOf(1, {stateOf(R, NONE, 63.0f), stateOf(G, 63.0f, 73.0f), stateOf(Y, 73.0f, 76.0f)}),
                 phaseOf(2, {stateOf(R, NONE, 4.0f), stateOf(G, 4.0f, 60.0f), stateOf(Y, 60.0f, 63.0f)}),
                 phaseOf(3, {stateOf(R, NONE, 76.0f), stateOf(G, 76.0f, 86.0f), stateOf(Y, 86.0f, 89.0f)}),
                 phaseOf(4, {stateOf(Y, NONE, 1.0f), stateOf(R, 1.0f, 89.0f), stateOf(G, 89.0f, 119.0f)})});
    // The neighbouring node: a simple two-phase controller.
    LMTrafficLightExtend neighbour =
        lightOf(SampleIntersection::NEIGHBOUR_NODE,
                {phaseOf(1, {stateOf(R, NONE, 30.0f), stateOf(G, 30.0f, 45.0f), stateOf(Y, 45.0f, 48.0f)}),
                 phaseOf(2, {stateOf(G, NONE, 25.0f), stateOf(Y, 25.0f, 28.0f), stateOf(R, 28.0f, 60.0f)})});
    return {centre, neighbour};
}

std::vector<LMTrafficLightExtend> SampleSignal::lightsAt(double seconds)
{
    // A count-down that ran out is 0, not -1: -1 would mean "not given".
    auto later = [seconds](float t) { return t == NONE ? NONE : (float)std::max(0.0, t - seconds); };
    std::vector<LMTrafficLightExtend> out = lights();
    for (LMTrafficLightExtend& light : out) {
        for (auto& phase : light.phases) {
            std::map<uint8_t, LMPhaseStateBase>& states = phase.second.phaseStates;
            for (auto it = states.begin(); it != states.end();) {
                LMPhaseStateBase& s = it->second;
                if (s.likelyEndTime != NONE && s.likelyEndTime <= seconds) {
                    it = states.erase(it);
                    continue;
                }
                s.startTime = s.startTime == NONE || s.startTime <= seconds ? NONE : later(s.startTime);
                s.minEndTime = later(s.minEndTime);
                s.maxEndTime = later(s.maxEndTime);
                s.likelyEndTime = later(s.likelyEndTime);
                ++it;
            }
        }
    }
    return out;
}

std::vector<LMRSIExtend> SampleSignal::rsiRecords()
{
    // East and north metres from the centre node, along the approaches'
    // centre lines (Mill Rd northbound at 5.25 m east, Harbour St westbound
    // at 3.5 m north).
    return {rsiOf(1, 38, "Road works ahead: right lane closed 90 m to 30 m before the stop line",
                  {pointAt(5.25, -90.0), pointAt(5.25, -60.0), pointAt(5.25, -30.0)}),
            rsiOf(2, 7, "School zone: 30 km/h",
                  {pointAt(300.0, 3.5), pointAt(200.0, 3.5), pointAt(100.0, 3.5)}),
            rsiOf(3, 12, "Fog on Harbour St east of Quay Rd", {pointAt(600.0, 3.5), pointAt(520.0, 3.5)})};
}

int SampleSignal::writeLights(std::vector<char>* out, double seconds)
{
    return LMMessageWriter::writeTLList(seconds > 0.0 ? lightsAt(seconds) : lights(), out);
}

int SampleSignal::writeRSI(std::vector<char>* out)
{
    return LMMessageWriter::writeRSIList(rsiRecords(), out);
}
