// v2xshm signal load FILE | signal age | rsi load FILE [--source TEXT] |
// rsi age | show signals [--node ID] | show rsi | show phases |
// show rsi-results, and the signal state of the vehicle's approach that
// `locate` prints and publishes.
//
// The light list and the RSI list as a receiving process uses them: `load`
// checks a received message file, decodes it and puts its records into the
// shared list in place; `age` drops what was not refreshed for 10 s.
//
// The approach: the located link's movements give the phases that govern it;
// the light list's entry for the located node gives each phase's states with
// count-down times in seconds from reception, so the state now is the one
// whose window holds the light's age. What is published:
//   LMTLPhaseRes (one per movement of the link, at most 16)
//     valueInt      seconds until the state changes, in tenths; -1 unknown
//     valueByte1    the movement's phaseId
//     valueByte2    the light state code now; 0 when none is known
//     valueBytes1   the node's id (signed 64-bit, host order)
//     valueBytes2   the movement's remote node id (signed 64-bit, host order)
//   LMRSIRes (one per RSI record with a reference point on the link, at most 32)
//     valueByte1    the record's place in the RSI list (255 beyond)
//     valueByte2    metres from the vehicle to its nearest reference point (255 beyond)
//     text          "SOURCE#INFOID: TEXT", cut to 255 bytes
#include "Commands.h"
#include "JsonText.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <map>
#include <vector>

#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMSignalCheck.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "shm/TimeTool.h"
#include "space/SpaceToolGeo.h"

namespace {

using LightMap = std::map<int64_t, LMTrafficLightExtend>;
constexpr double LANE_WIDTH = 3.5;    // metres; an RSI point this near per lane, plus the margin, is on the link
constexpr double REACH_MARGIN = 5.0;  // metres

std::string fixed(double value, int decimals)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

// A float as JSON: -1 and other whole values without decimals.
std::string num(double value)
{
    if (!std::isfinite(value)) {
        return "null";
    }
    return value == std::floor(value) && std::fabs(value) < 1e15 ? fixed(value, 0) : formatDouble(value);
}

std::string textOf(const char* field, size_t width)
{
    return std::string(field, strnlen(field, width));
}

const char* lightName(uint8_t code)
{
    static const char* const NAMES[] = {"unknown",          "dark",           "flashing red", "red",
                                        "red and yellow",   "green",          "green",        "yellow",
                                        "yellow",           "flashing yellow"};
    return code < sizeof NAMES / sizeof NAMES[0] ? NAMES[code] : "unknown";
}

std::string ageJson(const IF_Refreshable& rec)
{
    if (rec.getLatestRefreshTime() == 0.0) {
        return "\"refreshTime\":0,\"ageSeconds\":null";
    }
    return "\"refreshTime\":" + fixed(rec.getLatestRefreshTime(), 3) + ",\"ageSeconds\":" +
           fixed(rec.getPreciseTimeDiff(), 3);
}

// ---- loading a received list ----

// The file's bytes, or an error message.
bool readFile(const std::string& file, const char* what, std::vector<char>* bytes, std::string* error)
{
    if (!readBoundedFile(file, (size_t)LMTLListMng::SHM_SIZE, bytes, error)) {
        return false;
    }
    if (bytes->empty()) {
        *error = file + ": empty, not " + what;
        return false;
    }
    return true;
}

// The walk's verdict on the file as one line, or "" when it is whole.
std::string checkVerdict(const std::string& file, const char* what, int span, int faultAt, int size)
{
    if (span == LMSignalCheck::MALFORMED) {
        return file + ": not a valid " + what + ": a record length below 0 at byte " + std::to_string(faultAt);
    }
    if (span == LMSignalCheck::TRUNCATED) {
        return file + ": " + what + " cut short: a count or field at byte " + std::to_string(faultAt) +
               " runs past the file's " + std::to_string(size) + " bytes";
    }
    if (span < 0) {
        return file + ": not a " + what;
    }
    if (span != size) {
        return file + ": " + std::to_string(size - span) + " bytes after the end of the " + what + " at byte " +
               std::to_string(span);
    }
    return "";
}

int signalLoad(const ToolArgs& args)
{
    if (args.words.size() != 2) {
        return usageError("usage: signal load FILE");
    }
    const std::string& file = args.words[1];
    std::vector<char> bytes;
    std::string error;
    if (!readFile(file, "a light list", &bytes, &error)) {
        return usageError(error);
    }
    int size = (int)bytes.size();
    int faultAt = 0;
    int span = LMSignalCheck::checkTLList(bytes.data(), 0, size, &faultAt);
    std::string verdict = checkVerdict(file, "light list", span, faultAt, size);
    if (!verdict.empty()) {
        return usageError(verdict);
    }
    if (!requireOwner(*findList("lights"))) {
        return EXIT_FAILURE_CODE;
    }
    LMTLListMng mng(false);
    int pos = 0;
    if (LMSignalCheck::DeSerializeChecked(&mng, bytes.data(), &pos, size) != span) {
        return failure(file + ": out of memory while decoding");
    }
    LightMap incoming = mng.lights;
    guardLockWait("lights");
    int rc = mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &incoming);
    releaseLockGuard();
    if (rc != 1) {
        return failure(file + ": the light list could not take these lights; nothing changed");
    }
    if (args.json) {
        std::string ids;
        for (const auto& e : incoming) {
            ids += (ids.empty() ? "" : ",") + std::to_string((long long)e.first);
        }
        std::cout << "{\"file\":" << jsonString(file) << ",\"bytes\":" << size << ",\"lights\":[" << ids << "]}"
                  << std::endl;
        return EXIT_OK;
    }
    std::cout << "loaded " << file << " (" << size << " bytes): " << incoming.size()
              << " lights, replacing their earlier copies in the light list" << std::endl;
    for (const auto& e : incoming) {
        std::cout << "  light of node " << e.first << ": " << e.second.phases.size() << " phases" << std::endl;
    }
    return EXIT_OK;
}

int rsiLoad(const ToolArgs& args)
{
    std::string source = "file";
    std::vector<std::string> words = args.words;
    if (words.size() == 4 && words[2] == "--source") {
        source = words[3];
        words.resize(2);
    }
    if (words.size() != 2) {
        return usageError("usage: rsi load FILE [--source TEXT]");
    }
    if (source.empty() || source.size() > (size_t)LMRSIBase::SOURCE_LEN || source.find('\0') != std::string::npos) {
        return usageError("source '" + source + "' must be 1 to 16 characters");
    }
    const std::string& file = words[1];
    std::vector<char> bytes;
    std::string error;
    if (!readFile(file, "an RSI list", &bytes, &error)) {
        return usageError(error);
    }
    int size = (int)bytes.size();
    int faultAt = 0;
    int span = LMSignalCheck::checkRSIList(bytes.data(), 0, size, &faultAt);
    std::string verdict = checkVerdict(file, "RSI list", span, faultAt, size);
    if (!verdict.empty()) {
        return usageError(verdict);
    }
    if (!requireOwner(*findList("rsi"))) {
        return EXIT_FAILURE_CODE;
    }
    LMRSIListMng mng(false);
    int pos = 0;
    if (LMSignalCheck::DeSerializeChecked(&mng, bytes.data(), &pos, size) != span) {
        return failure(file + ": out of memory while decoding");
    }
    for (LMRSIExtend& rec : mng.records) {
        memcpy(rec.sourceID, source.data(), source.size());
    }
    std::vector<LMRSIExtend> incoming = mng.records;
    guardLockWait("rsi");
    int rc = mng.operateSHMNotSafe(LMRSIListMng::insertUpdateListMulti, &incoming);
    releaseLockGuard();
    if (rc != 1) {
        return failure(file + ": the RSI list could not take these records; nothing changed");
    }
    size_t added = incoming.size();
    if (args.json) {
        std::cout << "{\"file\":" << jsonString(file) << ",\"bytes\":" << size << ",\"source\":" << jsonString(source)
                  << ",\"records\":" << mng.records.size() << ",\"updated\":" << mng.records.size() - added
                  << ",\"added\":" << added << "}" << std::endl;
        return EXIT_OK;
    }
    std::cout << "loaded " << file << " (" << size << " bytes) from source " << source << ": " << mng.records.size()
              << " records, " << mng.records.size() - added << " updated in place, " << added << " added"
              << std::endl;
    return EXIT_OK;
}

// Runs a list's refreshList on the live image, noting the count on either
// side within the same lock.
struct AgeRun {
    int (*refresh)(void*, void*);
    int32_t before;
    int32_t after;
};

int ageAndCount(void* image, void* arg)
{
    AgeRun* run = static_cast<AgeRun*>(arg);
    memcpy(&run->before, image, sizeof run->before);
    int rc = run->refresh(image, nullptr);
    memcpy(&run->after, image, sizeof run->after);
    return rc;
}

template <typename Mng>
int ageList(const ToolArgs& args, const char* listName, const char* what)
{
    if (args.words.size() != 1) {
        return usageError(std::string("usage: ") + (strcmp(listName, "lights") == 0 ? "signal" : "rsi") + " age");
    }
    if (!requireOwner(*findList(listName))) {
        return EXIT_FAILURE_CODE;
    }
    Mng mng(false);
    AgeRun run{Mng::refreshList, 0, 0};
    guardLockWait(listName);
    int rc = mng.operateSHMNotSafe(ageAndCount, &run);
    releaseLockGuard();
    if (rc != 1) {
        return failure(std::string("the ") + listName + " list did not decode; nothing was aged");
    }
    if (args.json) {
        std::cout << "{\"before\":" << run.before << ",\"after\":" << run.after << ",\"maxAgeSeconds\":10}" << std::endl;
    } else {
        std::cout << "aged the " << listName << " list: " << run.before << " " << what << " before, " << run.after
                  << " after (" << run.before - run.after << " not refreshed for more than 10.0 s dropped)"
                  << std::endl;
    }
    return EXIT_OK;
}

template <typename Mng>
bool readList(Mng& mng, const char* listName)
{
    guardLockWait(listName);
    int rc = mng.update();
    releaseLockGuard();
    if (rc != 1) {
        failure(std::string("the ") + listName + " list did not decode; it may be being rewritten, try again");
        return false;
    }
    return true;
}

// ---- the state of a phase now ----

struct PhaseNow {
    bool known = false;
    uint8_t light = 0;
    double remaining = -1.0;  // seconds until the state ends; -1 unknown
};

// The state whose window [startTime, likelyEndTime) holds `age` seconds
// since reception; a start of -1 is a state already running.
PhaseNow phaseNow(const LMPhaseExtend& phase, double age)
{
    PhaseNow best;
    double bestStart = -1e300;
    for (const auto& e : phase.phaseStates) {
        double start = e.second.startTime;
        double end = e.second.likelyEndTime;
        start = start < 0.0 ? 0.0 : start;
        if (start <= age && (end < 0.0 || end > age) && start > bestStart) {
            bestStart = start;
            best.known = true;
            best.light = e.first;
            best.remaining = end < 0.0 ? -1.0 : end - age;
        }
    }
    return best;
}

std::string phaseText(const PhaseNow& now)
{
    if (!now.known) {
        return "no state known now";
    }
    return std::string(lightName(now.light)) +
           (now.remaining < 0.0 ? ", change unknown" : ", changes in " + fixed(now.remaining, 1) + " s");
}

// ---- show ----

std::string stateJson(const LMPhaseStateBase& s)
{
    return "{\"light\":" + std::to_string((unsigned)s.light) + ",\"startTime\":" + num(s.startTime) +
           ",\"minEndTime\":" + num(s.minEndTime) + ",\"maxEndTime\":" + num(s.maxEndTime) +
           ",\"likelyEndTime\":" + num(s.likelyEndTime) + ",\"timeConfidence\":" +
           std::to_string((unsigned)s.timeConfidence) + ",\"nextStartTime\":" + num(s.nextStartTime) +
           ",\"nextDuration\":" + num(s.nextDuration) + "}";
}

std::string lightJson(const LMTrafficLightExtend& light)
{
    std::string phases;
    double age = light.getPreciseTimeDiff();
    for (const auto& p : light.phases) {
        std::string states;
        for (const auto& s : p.second.phaseStates) {
            states += (states.empty() ? "" : ",") + stateJson(s.second);
        }
        PhaseNow now = phaseNow(p.second, age);
        phases += std::string(phases.empty() ? "" : ",") + "{\"phaseID\":" + std::to_string((unsigned)p.first) +
                  ",\"phaseAttr\":" + std::to_string((unsigned)p.second.phaseAttr) + ",\"now\":" +
                  (now.known ? std::to_string((unsigned)now.light) : "null") + ",\"remaining\":" +
                  (now.known && now.remaining >= 0.0 ? fixed(now.remaining, 1) : "null") + ",\"states\":[" + states +
                  "]}";
    }
    return "{\"id\":" + std::to_string((long long)light.id) + ",\"status\":[" + std::to_string(light.status[0]) +
           "," + std::to_string(light.status[1]) + "],\"timeStamp\":" + std::to_string(+light.timeStamp) +
           ",\"timeConfidence\":" + std::to_string((unsigned)light.timeConfidence) + "," + ageJson(light) +
           ",\"phases\":[" + phases + "]}";
}

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
    if (!requireOwner(*findList("lights"))) {
        return EXIT_FAILURE_CODE;
    }
    LMTLListMng mng(false);
    if (!readList(mng, "lights")) {
        return EXIT_FAILURE_CODE;
    }
    LightMap shown;
    if (oneNode) {
        auto found = mng.lights.find(nodeId);
        if (found == mng.lights.end()) {
            return failure("no light of node " + std::to_string(nodeId) + " in the light list");
        }
        shown.insert(*found);
    } else {
        shown.swap(mng.lights);
    }
    if (args.json) {
        std::string items;
        for (const auto& e : shown) {
            items += (items.empty() ? "" : ",") + lightJson(e.second);
        }
        std::cout << "{\"count\":" << shown.size() << ",\"lights\":[" << items << "]}" << std::endl;
        return EXIT_OK;
    }
    if (!oneNode) {
        std::cout << "lights: " << shown.size() << "\n";
    }
    for (const auto& e : shown) {
        const LMTrafficLightExtend& light = e.second;
        double age = light.getPreciseTimeDiff();
        std::cout << "light of node " << e.first << ", received "
                  << agoText(light.getLatestRefreshTime(), TimeTool::getPreciseTimeNow()) << ", "
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
    if (!requireOwner(*findList("rsi"))) {
        return EXIT_FAILURE_CODE;
    }
    LMRSIListMng mng(false);
    if (!readList(mng, "rsi")) {
        return EXIT_FAILURE_CODE;
    }
    if (args.json) {
        std::string items;
        for (const LMRSIExtend& r : mng.records) {
            std::string points;
            for (const LMPointBase& p : r.points) {
                points += (points.empty() ? "" : ",") + ("{\"lon\":" + formatDouble(p.longitude) +
                                                         ",\"lat\":" + formatDouble(p.latitude) + "}");
            }
            items += (items.empty() ? "" : ",") +
                     ("{\"sourceID\":" + jsonString(textOf(r.sourceID, LMRSIBase::SOURCE_LEN)) + ",\"infoID\":" +
                      std::to_string(+r.infoID) + ",\"attrInt\":" + std::to_string(+r.attrInt) + ",\"attrShort\":" +
                      std::to_string(+r.attrShort) + ",\"attrByte\":" + std::to_string((unsigned)r.attrByte) +
                      ",\"attrFloat\":" + num(r.attrFloat) + ",\"text\":" +
                      jsonString(textOf(r.text, LMRSIBase::TEXT_LEN)) + "," + ageJson(r) + ",\"points\":[" + points +
                      "]}");
        }
        std::cout << "{\"count\":" << mng.records.size() << ",\"records\":[" << items << "]}" << std::endl;
        return EXIT_OK;
    }
    std::cout << "rsi: " << mng.records.size() << " records\n";
    for (const LMRSIExtend& r : mng.records) {
        std::cout << "  " << textOf(r.sourceID, LMRSIBase::SOURCE_LEN) << "#" << r.infoID << " (code " << r.attrInt
                  << "), received " << agoText(r.getLatestRefreshTime(), TimeTool::getPreciseTimeNow()) << ", "
                  << r.points.size()
                  << " reference points: " << textOf(r.text, LMRSIBase::TEXT_LEN) << "\n";
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
    if (!requireOwner(*findList("phaseresult"))) {
        return EXIT_FAILURE_CODE;
    }
    LMTLPhaseResMng mng(false);
    if (!readList(mng, "phaseresult")) {
        return EXIT_FAILURE_CODE;
    }
    std::string items;
    for (const LMTLPhaseRes& r : mng.phaseResults) {
        if (args.json) {
            items += (items.empty() ? "" : ",") +
                     ("{\"nodeId\":" + std::to_string((long long)int64Of(r.valueBytes1)) + ",\"remoteNodeId\":" +
                      std::to_string((long long)int64Of(r.valueBytes2)) + ",\"phaseId\":" +
                      std::to_string((unsigned)r.valueByte1) + ",\"light\":" + std::to_string((unsigned)r.valueByte2) +
                      ",\"remainingTenths\":" + std::to_string(+r.valueInt) + "," + ageJson(r) + "}");
        } else {
            std::cout << "node " << int64Of(r.valueBytes1) << ", movement to " << int64Of(r.valueBytes2)
                      << ", phase " << (unsigned)r.valueByte1 << ": " << lightName(r.valueByte2)
                      << (r.valueInt < 0 ? ", change unknown" : ", changes in " + fixed(r.valueInt / 10.0, 1) + " s")
                      << "; computed " << agoText(r.getLatestRefreshTime(), TimeTool::getPreciseTimeNow()) << "\n";
        }
    }
    if (args.json) {
        std::cout << "{\"count\":" << mng.phaseResults.size() << ",\"phases\":[" << items << "]}" << std::endl;
    } else if (mng.phaseResults.empty()) {
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
    if (!requireOwner(*findList("rsiresult"))) {
        return EXIT_FAILURE_CODE;
    }
    LMRSIResMng mng(false);
    if (!readList(mng, "rsiresult")) {
        return EXIT_FAILURE_CODE;
    }
    std::string items;
    for (const LMRSIRes& r : mng.rsiResults) {
        std::string text = textOf(r.text, LMRSIRes::TEXT_LEN);
        if (args.json) {
            items += (items.empty() ? "" : ",") +
                     ("{\"listIndex\":" + std::to_string((unsigned)r.valueByte1) + ",\"metres\":" +
                      std::to_string((unsigned)r.valueByte2) + ",\"text\":" + jsonString(text) + "," + ageJson(r) +
                      "}");
        } else {
            std::cout << "[" << (unsigned)r.valueByte1 << "] " << (unsigned)r.valueByte2 << " m: " << text << "\n";
        }
    }
    if (args.json) {
        std::cout << "{\"count\":" << mng.rsiResults.size() << ",\"results\":[" << items << "]}" << std::endl;
    } else if (mng.rsiResults.empty()) {
        std::cout << "no RSI results published" << std::endl;
    }
    std::cout.flush();
    return EXIT_OK;
}

template <typename Mng>
bool publish(Mng& mng, const char* listName)
{
    guardLockWait(listName);
    int rc = mng.commit();
    releaseLockGuard();
    return rc == 1;
}

}  // namespace

std::string approachReport(const LMMapRes& res, const std::map<int64_t, LMNodeExtend>& nodes,
                           const GeoCoordinates& vehicle, bool json, double at)
{
    auto node = nodes.find(res.nodeId);
    if (node == nodes.end() || node->second.links.count(res.upstreamNodeId) == 0) {
        return json ? "\"signal\":null,\"rsi\":null" : "";
    }
    const LMLinkExtend& link = node->second.links.at(res.upstreamNodeId);
    std::string text;
    std::string signalJson = "null";
    std::string rsiJson = "null";

    // The light of the node, for each movement of the link.
    if (probeList(*findList("lights")).owned() && probeList(*findList("phaseresult")).owned()) {
        LMTLListMng lights(false);
        LMTLPhaseResMng published(false);
        if (readList(lights, "lights")) {
            auto light = lights.lights.find(res.nodeId);
            std::string items;
            for (const auto& m : link.movements) {
                LMTLPhaseRes r;
                r.refreshTime();
                r.valueByte1 = m.second.phaseId;
                int64_t nodeId = res.nodeId;
                memcpy(r.valueBytes1, &nodeId, sizeof nodeId);
                memcpy(r.valueBytes2, &m.first, sizeof m.first);
                PhaseNow now;
                if (light != lights.lights.end() && light->second.phases.count(m.second.phaseId) != 0) {
                    double age = at > 0.0 ? std::max(0.0, at - light->second.getLatestRefreshTime())
                                          : light->second.getPreciseTimeDiff();
                    now = phaseNow(light->second.phases.at(m.second.phaseId), age);
                }
                r.valueByte2 = now.known ? now.light : 0;
                r.valueInt = now.known && now.remaining >= 0.0 ? (int32_t)std::lround(now.remaining * 10.0) : -1;
                published.phaseResults.push_back(r);
                if (light != lights.lights.end()) {
                    text += "\n  to " + std::to_string((long long)m.first) + " (phase " +
                            std::to_string((unsigned)m.second.phaseId) + "): " + phaseText(now);
                }
                items += (items.empty() ? "" : ",") +
                         ("{\"remoteNodeId\":" + std::to_string((long long)m.first) + ",\"phaseId\":" +
                          std::to_string((unsigned)m.second.phaseId) + ",\"light\":" +
                          (now.known ? std::to_string((unsigned)now.light) : "null") + ",\"lightName\":" +
                          jsonString(now.known ? lightName(now.light) : "unknown") + ",\"remaining\":" +
                          (now.known && now.remaining >= 0.0 ? fixed(now.remaining, 1) : "null") + "}");
            }
            if (light == lights.lights.end()) {
                text += "\n  no light received for node " + std::to_string((long long)res.nodeId);
            }
            publish(published, "phaseresult");
            signalJson = "[" + items + "]";
        }
    }

    // Road-side information whose reference points lie on the link.
    if (probeList(*findList("rsi")).owned() && probeList(*findList("rsiresult")).owned()) {
        LMRSIListMng rsi(false);
        LMRSIResMng published(false);
        if (readList(rsi, "rsi")) {
            double reach = link.laneNum * LANE_WIDTH + REACH_MARGIN;
            std::string items;
            for (size_t i = 0; i < rsi.records.size(); ++i) {
                const LMRSIExtend& r = rsi.records[i];
                bool onLink = false;
                double nearest = 1e300;
                for (const LMPointBase& p : r.points) {
                    for (size_t s = 1; s < link.points.size() && !onLink; ++s) {
                        onLink = SpaceToolGeo::DistancePoint2LineSegment(p, link.points[s - 1], link.points[s]) < reach;
                    }
                    nearest = std::min(nearest, SpaceToolGeo::DistancePoint2Point(vehicle, p));
                }
                if (!onLink) {
                    continue;
                }
                std::string line = textOf(r.sourceID, LMRSIBase::SOURCE_LEN) + "#" + std::to_string(+r.infoID) + ": " +
                                   textOf(r.text, LMRSIBase::TEXT_LEN);
                LMRSIRes res1;
                res1.refreshTime();
                res1.valueByte1 = (uint8_t)(i < 255 ? i : 255);
                res1.valueByte2 = (uint8_t)(nearest < 255.0 ? std::lround(nearest) : 255);
                memcpy(res1.text, line.data(), std::min(line.size(), (size_t)LMRSIRes::TEXT_LEN - 1));
                published.rsiResults.push_back(res1);
                text += "\n  road-side information, " + fixed(nearest, 0) + " m away: " + line;
                items += (items.empty() ? "" : ",") +
                         ("{\"listIndex\":" + std::to_string(i) + ",\"metres\":" + fixed(nearest, 1) +
                          ",\"text\":" + jsonString(line) + "}");
            }
            publish(published, "rsiresult");
            rsiJson = "[" + items + "]";
        }
    }
    return json ? "\"signal\":" + signalJson + ",\"rsi\":" + rsiJson : text;
}

int cmdSignal(const ToolArgs& args)
{
    std::string sub = args.words.empty() ? "" : args.words[0];
    if (sub == "load") return signalLoad(args);
    if (sub == "age") return ageList<LMTLListMng>(args, "lights", "lights");
    return usageError("usage: signal load FILE | signal age");
}

int cmdRsi(const ToolArgs& args)
{
    std::string sub = args.words.empty() ? "" : args.words[0];
    if (sub == "load") return rsiLoad(args);
    if (sub == "age") return ageList<LMRSIListMng>(args, "rsi", "records");
    return usageError("usage: rsi load FILE [--source TEXT] | rsi age");
}

int cmdShowSignal(const std::string& what, const ToolArgs& args)
{
    if (what == "signals") return showSignals(args);
    if (what == "rsi") return showRsi(args);
    if (what == "phases") return showPhases(args);
    return showRsiResults(args);
}
