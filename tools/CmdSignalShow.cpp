// v2xshm show signals [--node ID] | show rsi | show phases | show rsi-results
//
// The light and RSI lists as received, and the results a locating process
// published for the vehicle (their meanings are the unit layer's, see
// v2xshm-unit/ApproachSignal.h and ApproachRSI.h).
#include "Commands.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "ApproachJson.h"
#include "LocalMapFront.h"
#include "ListViewJson.h"
#include "LocalMapJson.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "shm/TimeTool.h"

namespace {

int showSignals(const ToolArgs& args)
{
    bool oneNode = false;
    long long nodeId = 0;
    if (args.words.size() == 2 && args.words[0] == "--node") {
        WholeNumber parsed = readWholeNumber(args.words[1], INT64_MIN, INT64_MAX, &nodeId);
        if (parsed != WholeNumber::OK) {
            return usageError(wholeNumberError("node id", args.words[1], parsed, INT64_MIN, INT64_MAX));
        }
        oneNode = true;
    } else if (!args.words.empty()) {
        return usageError("usage: show signals [--node ID]");
    }
    std::optional<LMTLListMng> mng;
    if (!openList(&mng, "lights")) {
        return EXIT_FAILURE_CODE;
    }
    std::map<int64_t, LMTrafficLightExtend> shown;
    if (oneNode) {
        auto found = mng->lights.find(nodeId);
        if (found == mng->lights.end()) {
            return failure("no light of node " + std::to_string(nodeId) + " in the light list");
        }
        shown.insert(*found);
    } else {
        shown.swap(mng->lights);
    }
    double now = TimeTool::getPreciseTimeNow();
    if (args.json) {
        printJson(lightListJson(shown, now));
        return EXIT_OK;
    }
    if (!oneNode) {
        std::cout << "lights: " << shown.size() << "\n";
    }
    for (const auto& e : shown) {
        const LMTrafficLightExtend& light = e.second;
        double age = now - light.getLatestRefreshTime();
        std::cout << "light of node " << e.first << ", received " << agoText(light.getLatestRefreshTime(), now) << ", "
                  << light.phases.size() << " phases\n";
        for (const auto& p : light.phases) {
            std::cout << "  phase " << (unsigned)p.first << ": " << phaseText(phaseNow(p.second, age)) << "\n";
            for (const auto& s : p.second.phaseStates) {
                std::cout << "    " << lightName(s.first) << " (" << (unsigned)s.first << ") from "
                          << fixed(s.second.startTime, 1) << " to " << fixed(s.second.likelyEndTime, 1)
                          << " s (" << fixed(s.second.minEndTime, 1) << " to " << fixed(s.second.maxEndTime, 1)
                          << ")\n";
            }
        }
    }
    std::cout.flush();
    return EXIT_OK;
}

int showRsi(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show rsi");
    }
    std::optional<LMRSIListMng> mng;
    if (!openList(&mng, "rsi")) {
        return EXIT_FAILURE_CODE;
    }
    if (args.json) {
        printJson(rsiListJson(mng->records));
        return EXIT_OK;
    }
    std::cout << "rsi: " << mng->records.size() << " records\n";
    for (const LMRSIExtend& r : mng->records) {
        std::cout << "  " << fieldText(r.sourceID, LMRSIBase::SOURCE_LEN) << "#" << r.infoID << " (code " << r.attrInt
                  << "), received " << agoText(r.getLatestRefreshTime(), TimeTool::getPreciseTimeNow()) << ", "
                  << r.points.size()
                  << " reference points: " << fieldText(r.text, LMRSIBase::TEXT_LEN) << "\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

int64_t int64Of(const uint8_t* bytes)
{
    int64_t value = 0;
    memcpy(&value, bytes, sizeof value);
    return value;
}

int showPhases(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show phases");
    }
    std::optional<LMTLPhaseResMng> mng;
    if (!openList(&mng, "phaseresult")) {
        return EXIT_FAILURE_CODE;
    }
    if (args.json) {
        printJson(phaseResultListJson(mng->phaseResults));
        return EXIT_OK;
    }
    for (const LMTLPhaseRes& r : mng->phaseResults) {
        std::cout << "node " << int64Of(r.valueBytes1) << ", movement to " << int64Of(r.valueBytes2) << ", phase "
                  << (unsigned)r.valueByte1 << ": " << lightName(r.valueByte2)
                  << (r.valueInt < 0 ? ", change unknown" : ", changes in " + fixed(r.valueInt / 10.0, 1) + " s")
                  << "; computed " << agoText(r.getLatestRefreshTime(), TimeTool::getPreciseTimeNow()) << "\n";
    }
    if (mng->phaseResults.empty()) {
        std::cout << "no phase results published" << std::endl;
    }
    std::cout.flush();
    return EXIT_OK;
}

int showRsiResults(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show rsi-results");
    }
    std::optional<LMRSIResMng> mng;
    if (!openList(&mng, "rsiresult")) {
        return EXIT_FAILURE_CODE;
    }
    if (args.json) {
        printJson(rsiResultListJson(mng->rsiResults));
        return EXIT_OK;
    }
    for (const LMRSIRes& r : mng->rsiResults) {
        std::cout << "[" << (unsigned)r.valueByte1 << "] " << (unsigned)r.valueByte2
                  << " m: " << fieldText(r.text, LMRSIRes::TEXT_LEN) << "\n";
    }
    if (mng->rsiResults.empty()) {
        std::cout << "no RSI results published" << std::endl;
    }
    std::cout.flush();
    return EXIT_OK;
}

}  // namespace

int cmdShowSignal(const std::string& what, const ToolArgs& args)
{
    if (what == "signals") return showSignals(args);
    if (what == "rsi") return showRsi(args);
    if (what == "phases") return showPhases(args);
    return showRsiResults(args);
}
