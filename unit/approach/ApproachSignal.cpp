#include "v2xshm-unit/ApproachSignal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

#include "localmap/LMTLPhaseResMng.h"

namespace {

using LightPhases = std::map<uint8_t, LMPhaseExtend>;
constexpr size_t MAX_PHASE_RESULTS = 16;  // what the phase-result segment holds

// A count-down time as seconds from now: -1 stays "not given", a time
// already past is now.
double fromNow(float countDown, double age)
{
    return countDown < 0.0f ? -1.0 : std::max(0.0, countDown - age);
}

}  // namespace

const char* lightName(uint8_t code)
{
    static const char* const NAMES[] = {"unknown",        "dark",  "flashing red", "red",    "red and yellow",
                                        "green",          "green", "yellow",       "yellow", "flashing yellow"};
    return code < sizeof NAMES / sizeof NAMES[0] ? NAMES[code] : "unknown";
}

bool isGreen(uint8_t code)
{
    return code == LIGHT_GREEN_PERMISSIVE || code == LIGHT_GREEN_PROTECTED;
}

namespace {

// phaseNow into *out, reusing its window vector.
void phaseNowInto(const LMPhaseExtend& phase, double age, PhaseNow* out)
{
    PhaseNow& best = *out;
    best.known = false;
    best.light = 0;
    best.remaining = -1.0;
    best.nextKnown = false;
    best.nextLight = 0;
    best.windows.clear();
    double bestStart = -1e300;
    for (const auto& e : phase.phaseStates) {
        double start = std::max(0.0, (double)e.second.startTime);
        double end = e.second.likelyEndTime;
        if (start <= age && (end < 0.0 || end > age) && start > bestStart) {
            bestStart = start;
            best.known = true;
            best.light = e.first;
            best.remaining = end < 0.0 ? -1.0 : end - age;
        }
    }
    double nextStart = 1e300;
    for (const auto& e : phase.phaseStates) {
        const LMPhaseStateBase& s = e.second;
        double start = std::max(0.0, (double)s.startTime);
        if (best.known && start > bestStart && start < nextStart) {
            nextStart = start;
            best.nextKnown = true;
            best.nextLight = e.first;
        }
        if (s.likelyEndTime < 0.0f || s.likelyEndTime > age) {
            SignalWindow w;
            w.light = e.first;
            w.start = start > age ? start - age : -1.0;
            w.minEnd = fromNow(s.minEndTime, age);
            w.likelyEnd = fromNow(s.likelyEndTime, age);
            w.maxEnd = fromNow(s.maxEndTime, age);
            best.windows.push_back(w);
        }
    }
    // In the order they begin, equal starts as listed: a stable insertion
    // sort (a phase has a handful of states; no buffer to allocate).
    for (size_t i = 1; i < best.windows.size(); ++i) {
        SignalWindow w = best.windows[i];
        size_t j = i;
        for (; j > 0 && w.start < best.windows[j - 1].start; --j) {
            best.windows[j] = best.windows[j - 1];
        }
        best.windows[j] = w;
    }
}

}  // namespace

PhaseNow phaseNow(const LMPhaseExtend& phase, double age)
{
    PhaseNow best;
    phaseNowInto(phase, age, &best);
    return best;
}

int evalApproachSignal(const std::map<int64_t, LMNodeExtend>& nodes, const LMMapRes& located,
                       const std::map<int64_t, LMTrafficLightExtend>& lights, double now, ApproachSignal* out)
{
    if (out == nullptr) {
        return -1;
    }
    try {
        // Keys copied out of the packed record: a reference to them would be
        // an unaligned load on the target.
        const int64_t nodeId = located.nodeId;
        const int64_t linkKey = located.upstreamNodeId;
        // Written over what *out held, reusing its vectors' storage.
        out->nodeId = nodeId;
        out->upstreamNodeId = linkKey;
        out->lightReceived = false;
        out->lightAge = -1.0;
        auto node = nodes.find(nodeId);
        if (node == nodes.end() || node->second.links.count(linkKey) == 0) {
            out->movements.clear();
            return -2;
        }
        const LMLinkExtend& link = node->second.links.at(linkKey);
        auto light = lights.find(nodeId);
        out->lightReceived = light != lights.end();
        if (out->lightReceived) {
            // A light received after `now` is taken as it was received.
            out->lightAge = std::max(0.0, now - light->second.getLatestRefreshTime());
        }
        size_t count = 0;
        for (const auto& m : link.movements) {
            if (count == out->movements.size()) {
                out->movements.emplace_back();
            }
            ApproachMovement& move = out->movements[count++];
            move.remoteNodeId = m.first;
            move.phaseId = m.second.phaseId;
            move.phaseListed = false;
            auto phase = out->lightReceived ? light->second.phases.find(move.phaseId) : LightPhases::const_iterator();
            move.phaseListed = out->lightReceived && phase != light->second.phases.end();
            if (move.phaseListed) {
                phaseNowInto(phase->second, out->lightAge, &move.now);
            } else {
                std::vector<SignalWindow> keep;
                keep.swap(move.now.windows);
                move.now = PhaseNow();
                keep.clear();
                move.now.windows.swap(keep);
            }
        }
        out->movements.resize(count);
        return 1;
    } catch (const std::exception&) {
        return -3;
    }
}

int approachPhaseResults(const ApproachSignal& signal, double now, std::vector<LMTLPhaseRes>* out)
{
    if (out == nullptr) {
        return -1;
    }
    try {
        out->clear();
        for (const ApproachMovement& m : signal.movements) {
            if (out->size() == MAX_PHASE_RESULTS) {
                break;
            }
            LMTLPhaseRes r;
            r.latestRefreshTime = now;
            r.valueByte1 = m.phaseId;
            r.valueByte2 = m.now.known ? m.now.light : 0;
            r.valueInt = m.timeKnown() ? (int32_t)std::lround(m.now.remaining * 10.0) : -1;
            int64_t nodeId = signal.nodeId;
            int64_t remote = m.remoteNodeId;
            memcpy(r.valueBytes1, &nodeId, sizeof nodeId);
            memcpy(r.valueBytes2, &remote, sizeof remote);
            out->push_back(r);
        }
        return (int)out->size();
    } catch (const std::exception&) {
        return -1;
    }
}

int publishApproachSignal(const ApproachSignal& signal, double now, LMTLPhaseResMng* mng)
{
    if (mng == nullptr || approachPhaseResults(signal, now, &mng->phaseResults) < 0) {
        return -1;
    }
    return mng->commit();
}
