#include "v2xshm-unit/ApproachSignal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

#include "localmap/LMTLPhaseResMng.h"

namespace {

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

PhaseNow phaseNow(const LMPhaseExtend& phase, double age)
{
    PhaseNow best;
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
    std::stable_sort(best.windows.begin(), best.windows.end(),
                     [](const SignalWindow& a, const SignalWindow& b) { return a.start < b.start; });
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
        *out = ApproachSignal();
        out->nodeId = nodeId;
        out->upstreamNodeId = linkKey;
        auto node = nodes.find(nodeId);
        if (node == nodes.end() || node->second.links.count(linkKey) == 0) {
            return -2;
        }
        const LMLinkExtend& link = node->second.links.at(linkKey);
        auto light = lights.find(nodeId);
        out->lightReceived = light != lights.end();
        if (out->lightReceived) {
            // A light received after `now` is taken as it was received.
            out->lightAge = std::max(0.0, now - light->second.getLatestRefreshTime());
        }
        for (const auto& m : link.movements) {
            ApproachMovement move;
            move.remoteNodeId = m.first;
            move.phaseId = m.second.phaseId;
            if (out->lightReceived) {
                auto phase = light->second.phases.find(move.phaseId);
                move.phaseListed = phase != light->second.phases.end();
                if (move.phaseListed) {
                    move.now = phaseNow(phase->second, out->lightAge);
                }
            }
            out->movements.push_back(move);
        }
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
