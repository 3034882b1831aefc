// v2xshm map load FILE | map age | show map [--node ID] | show location |
// locate LON LAT HEADING_DEG | locate --gnss
//
// The local map as a receiving process and a locating process use it: `map
// load` decodes a received map message file with the checked decoder and
// merges its nodes into the shared list in place, `map age` drops nodes not
// refreshed for 10 s, `locate` places a vehicle on the map and publishes the
// result, `show` prints the list and the published result.
#include "Commands.h"
#include "JsonText.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>

#include "localmap/LMMapResMng.h"
#include "localmap/LMMessageCheck.h"
#include "localmap/LMNodeListMng.h"
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/GNSS.h"

namespace {

constexpr double MS_TO_KMH = 3.6;

using NodeMap = std::map<int64_t, LMNodeExtend>;

// ---- text helpers ----

std::string fixed(double value, int decimals)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

// JSON numbers in the fewest digits that read back exactly, whole numbers
// without an exponent.
std::string number(double value)
{
    if (std::isfinite(value) && value == std::floor(value) && std::fabs(value) < 1e15) {
        return fixed(value, 0);
    }
    return std::isfinite(value) ? formatDouble(value) : "null";
}

std::string number(float value)
{
    if (!std::isfinite(value) || value == std::floor(value)) {
        return number((double)value);
    }
    char buf[32];
    for (int precision = 1; precision <= 9; ++precision) {
        snprintf(buf, sizeof buf, "%.*g", precision, (double)value);
        if (strtof(buf, nullptr) == value) {
            break;
        }
    }
    return buf;
}

// A fixed-width name field up to its first zero; bytes that do not print are
// shown as '?' in text (JSON escapes them).
std::string nameOf(const char* field, size_t width)
{
    return std::string(field, strnlen(field, width));
}

std::string printable(const std::string& text)
{
    std::string out = text;
    for (char& c : out) {
        if ((unsigned char)c < 0x20 || (unsigned char)c == 0x7f) {
            c = '?';
        }
    }
    return out;
}

std::string hexOf(const uint8_t* bytes, int n)
{
    std::string out;
    char buf[4];
    for (int i = 0; i < n; ++i) {
        snprintf(buf, sizeof buf, "%02x", bytes[i]);
        out += buf;
    }
    return out;
}

std::string position(const GeoCoordinates& g)
{
    return fixed(g.latitude, 7) + " " + printable(std::string(1, g.latHemisphere)) + " " + fixed(g.longitude, 7) +
           " " + printable(std::string(1, g.lonHemisphere));
}

std::string positionJson(const GeoCoordinates& g)
{
    return "\"lon\":" + number(g.longitude) + ",\"lat\":" + number(g.latitude) +
           ",\"alt\":" + number(g.altitude) + ",\"latHemisphere\":" + jsonString(std::string(1, g.latHemisphere)) +
           ",\"lonHemisphere\":" + jsonString(std::string(1, g.lonHemisphere));
}

std::string speedText(float metresPerSecond)
{
    return fixed(metresPerSecond, 2) + " m/s (" + fixed(metresPerSecond * MS_TO_KMH, 1) + " km/h)";
}

// "3.2 s ago", or "never" for a record never stamped.
std::string ageText(const IF_Refreshable& rec)
{
    return agoText(rec.getLatestRefreshTime(), TimeTool::getPreciseTimeNow());
}

std::string ageJson(const IF_Refreshable& rec)
{
    if (rec.getLatestRefreshTime() == 0.0 || !std::isfinite(rec.getLatestRefreshTime())) {
        return std::string("\"refreshTime\":") + (rec.getLatestRefreshTime() == 0.0 ? "0" : "null") +
               ",\"ageSeconds\":null";
    }
    return "\"refreshTime\":" + fixed(rec.getLatestRefreshTime(), 3) + ",\"ageSeconds\":" +
           fixed(rec.getPreciseTimeDiff(), 3);
}

template <typename Container, typename Fn>
std::string jsonArray(const Container& items, Fn fn)
{
    std::string out = "[";
    bool first = true;
    for (const auto& item : items) {
        out += (first ? "" : ",") + fn(item);
        first = false;
    }
    return out + "]";
}

// ---- argument parsing ----

// The whole text as a finite double.
bool parseNumber(const std::string& text, double* out)
{
    if (text.empty() || isspace((unsigned char)text[0])) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    double value = strtod(text.c_str(), &end);
    if (*end != '\0' || errno == ERANGE || !std::isfinite(value)) {
        return false;
    }
    *out = value;
    return true;
}

WholeNumber parseNodeId(const std::string& text, int64_t* out)
{
    long long value = 0;
    WholeNumber result = readWholeNumber(text, INT64_MIN, INT64_MAX, &value);
    *out = value;
    return result;
}

// ---- map list transfers, never waiting for a lock forever ----

bool readMap(LMNodeListMng& mng)
{
    guardLockWait("map");
    int rc = mng.update();
    releaseLockGuard();
    if (rc != 1) {
        failure("the map list did not decode; it may be being rewritten, try again");
        return false;
    }
    return true;
}

// ---- map load ----

std::string checkFailure(const std::string& file, int code, int faultAt, int size)
{
    std::string where = " at byte " + std::to_string(faultAt);
    switch (code) {
    case LMMessageCheck::MALFORMED:
        return file + ": not a valid map message: a record length below 0 or a name over 64 bytes" + where;
    case LMMessageCheck::TRUNCATED:
        return file + ": map message cut short: a count or field" + where + " runs past the file's " +
               std::to_string(size) + " bytes";
    default:
        return file + ": not a map message";
    }
}

struct MapTotals {
    size_t links = 0;
    size_t lanes = 0;
    size_t points = 0;
    size_t movements = 0;
};

MapTotals totalsOf(const NodeMap& nodes)
{
    MapTotals t;
    for (const auto& node : nodes) {
        for (const auto& entry : node.second.links) {
            const LMLinkExtend& link = entry.second;
            ++t.links;
            t.lanes += link.lanes.size();
            t.points += link.points.size();
            t.movements += link.movements.size();
            for (const auto& lane : link.lanes) {
                t.points += lane.second.points.size();
                t.movements += lane.second.movements.size();
            }
        }
    }
    return t;
}

int mapLoad(const ToolArgs& args)
{
    if (args.words.size() != 2) {
        return usageError("usage: map load FILE");
    }
    const std::string& file = args.words[1];
    std::vector<char> bytes;
    std::string error;
    if (!readBoundedFile(file, (size_t)LMNodeListMng::SHM_SIZE, &bytes, &error, "the map list's size")) {
        return usageError(error);
    }
    if (bytes.empty()) {
        return usageError(file + ": empty file, not a map message");
    }
    int size = (int)bytes.size();
    // Everything about the file is checked before any list is touched.
    int faultAt = 0;
    int span = LMMessageCheck::checkNodeList(bytes.data(), 0, size, &faultAt);
    if (span < 0) {
        return usageError(checkFailure(file, span, faultAt, size));
    }
    if (span != size) {
        return usageError(file + ": " + std::to_string(size - span) + " bytes after the end of the map message at byte " +
                          std::to_string(span));
    }
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    LMNodeListMng mng(false);
    int pos = 0;
    if (LMMessageCheck::DeSerializeChecked(&mng, bytes.data(), &pos, size) != span) {
        return failure(file + ": out of memory while decoding");
    }
    // A receiving process derives the distances to each link's end before
    // anyone relies on them.
    for (auto& node : mng.nodes) {
        for (auto& link : node.second.links) {
            link.second.calcPointsDis2End();
        }
    }
    NodeMap incoming = mng.nodes;  // insertUpdateList takes the nodes it merges out of it
    guardLockWait("map");
    int rc = mng.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &incoming);
    releaseLockGuard();
    if (rc != 1) {
        return failure(file + ": the map list could not take these nodes (it holds " +
                       std::to_string(LMNodeListMng::SHM_SIZE) + " bytes); nothing changed");
    }
    MapTotals t = totalsOf(mng.nodes);
    if (args.json) {
        std::cout << "{\"file\":" << jsonString(file) << ",\"bytes\":" << size << ",\"nodes\":"
                  << jsonArray(mng.nodes, [](const NodeMap::value_type& e) { return std::to_string(e.first); })
                  << ",\"links\":" << t.links << ",\"lanes\":" << t.lanes << ",\"points\":" << t.points
                  << ",\"movements\":" << t.movements << "}" << std::endl;
        return EXIT_OK;
    }
    std::cout << "loaded " << file << " (" << size << " bytes): " << mng.nodes.size() << " nodes, " << t.links
              << " links, " << t.lanes << " lanes, " << t.points << " points, " << t.movements
              << " movements, merged into the map list" << std::endl;
    for (const auto& node : mng.nodes) {
        std::cout << "  node " << node.first << " \"" << printable(nameOf(node.second.name, LMNodeBase::NAME_LEN))
                  << "\": " << node.second.links.size() << " links" << std::endl;
    }
    return EXIT_OK;
}

// ---- map age ----

struct AgeCounts {
    int32_t before = 0;
    int32_t after = 0;
};

// Runs refreshList on the live image, noting the node count on either side
// within the same lock.
int ageAndCount(void* image, void* arg)
{
    AgeCounts* counts = static_cast<AgeCounts*>(arg);
    memcpy(&counts->before, image, sizeof counts->before);
    int rc = LMNodeListMng::refreshList(image, nullptr);
    memcpy(&counts->after, image, sizeof counts->after);
    return rc;
}

int mapAge(const ToolArgs& args)
{
    if (args.words.size() != 1) {
        return usageError("usage: map age");
    }
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    LMNodeListMng mng(false);
    AgeCounts counts;
    guardLockWait("map");
    int rc = mng.operateSHMNotSafe(ageAndCount, &counts);
    releaseLockGuard();
    if (rc != 1) {
        return failure("the map list did not decode; nothing was aged");
    }
    if (args.json) {
        std::cout << "{\"before\":" << counts.before << ",\"after\":" << counts.after << ",\"maxAgeSeconds\":"
                  << number(LMNodeListMng::NODE_MAX_AGE) << "}" << std::endl;
    } else {
        std::cout << "aged the map list: " << counts.before << " nodes before, " << counts.after << " after ("
                  << counts.before - counts.after << " not refreshed for more than "
                  << fixed(LMNodeListMng::NODE_MAX_AGE, 1) << " s dropped)" << std::endl;
    }
    return EXIT_OK;
}

// ---- show map ----

std::string movementsText(const std::map<int64_t, LMMovementBase>& movements)
{
    if (movements.empty()) {
        return "none";
    }
    std::string out;
    for (const auto& m : movements) {
        out += (out.empty() ? "" : ", ") + ("-> " + std::to_string(m.first) + " phase " +
                                            std::to_string((unsigned)m.second.phaseId));
    }
    return out;
}

std::string movementsJson(const std::map<int64_t, LMMovementBase>& movements)
{
    return jsonArray(movements, [](const std::pair<const int64_t, LMMovementBase>& m) {
        return "{\"remoteNodeId\":" + std::to_string(m.first) + ",\"phaseId\":" +
               std::to_string((unsigned)m.second.phaseId) + "}";
    });
}

std::string pointsJson(const std::vector<LMPointBase>& points)
{
    return jsonArray(points, [](const LMPointBase& p) {
        return "{" + positionJson(p) + ",\"dis2End\":" + number(p.dis2End) + "}";
    });
}

std::string linkJson(const LMLinkExtend& link)
{
    std::string lanes = jsonArray(link.lanes, [](const std::pair<const uint8_t, LMLaneExtend>& e) {
        const LMLaneExtend& lane = e.second;
        return "{\"laneID\":" + std::to_string((unsigned)e.first) + ",\"laneBitsA\":" +
               jsonString(hexOf(lane.laneBitsA, 2)) + ",\"laneBitsB\":" + jsonString(hexOf(lane.laneBitsB, 2)) +
               ",\"laneTypeCode\":" + std::to_string((unsigned)lane.laneTypeCode) + ",\"laneBitsC\":" +
               jsonString(hexOf(lane.laneBitsC, 2)) + ",\"points\":" + pointsJson(lane.points) +
               ",\"movements\":" + movementsJson(lane.movements) + "}";
    });
    std::string limits = jsonArray(link.speedLimits, [](const LMSpeedLimitBase& s) {
        return "{\"type\":" + std::to_string((unsigned)s.type) + ",\"speed\":" + number(s.speed) + "}";
    });
    return "{\"upstreamNodeId\":" + std::to_string((long long)link.upstreamNodeId) + ",\"name\":" +
           jsonString(nameOf(link.name, LMLinkBase::NAME_LEN)) + ",\"laneNum\":" +
           std::to_string((unsigned)link.laneNum) + ",\"attrFloat1\":" + number(link.attrFloat1) +
           ",\"attrFloat2\":" + number(link.attrFloat2) + ",\"lanes\":" + lanes + ",\"speedLimits\":" + limits +
           ",\"points\":" + pointsJson(link.points) + ",\"movements\":" + movementsJson(link.movements) + "}";
}

std::string nodeJson(const LMNodeExtend& node)
{
    std::string links = jsonArray(node.links, [](const std::pair<const int64_t, LMLinkExtend>& e) {
        return linkJson(e.second);
    });
    return "{\"nodeId\":" + std::to_string((long long)node.nodeId) + ",\"name\":" +
           jsonString(nameOf(node.name, LMNodeBase::NAME_LEN)) + "," + positionJson(node) + "," + ageJson(node) +
           ",\"links\":" + links + "}";
}

void printNode(const LMNodeExtend& node)
{
    std::cout << "node " << (long long)node.nodeId << " \"" << printable(nameOf(node.name, LMNodeBase::NAME_LEN))
              << "\" at " << position(node) << ", refreshed " << ageText(node) << ", " << node.links.size()
              << " links\n";
    for (const auto& entry : node.links) {
        const LMLinkExtend& link = entry.second;
        double length = link.points.empty() ? 0.0 : link.points.front().dis2End;
        std::cout << "  link from " << entry.first << " \"" << printable(nameOf(link.name, LMLinkBase::NAME_LEN))
                  << "\": " << (unsigned)link.laneNum << " lanes, " << link.points.size() << " points, "
                  << fixed(length, 1) << " m to the stop line\n";
        std::cout << "    speed limits:";
        if (link.speedLimits.empty()) {
            std::cout << " none";
        }
        for (const LMSpeedLimitBase& s : link.speedLimits) {
            std::cout << " type " << (unsigned)s.type << " " << speedText(s.speed) << ";";
        }
        std::cout << "\n    movements: " << movementsText(link.movements) << "\n";
        for (const LMPointBase& p : link.points) {
            std::cout << "    point " << position(p) << "  " << fixed(p.dis2End, 1) << " m to the end\n";
        }
        for (const auto& laneEntry : link.lanes) {
            const LMLaneExtend& lane = laneEntry.second;
            std::cout << "    lane " << (unsigned)laneEntry.first << " (bits " << hexOf(lane.laneBitsA, 2) << " "
                      << hexOf(lane.laneBitsB, 2) << " type " << (unsigned)lane.laneTypeCode << " "
                      << hexOf(lane.laneBitsC, 2) << "): " << lane.points.size() << " points, movements "
                      << movementsText(lane.movements) << "\n";
        }
    }
}

int showMap(const ToolArgs& args)
{
    bool oneNode = false;
    int64_t nodeId = 0;
    if (args.words.size() == 2 && args.words[0] == "--node") {
        WholeNumber parsed = parseNodeId(args.words[1], &nodeId);
        if (parsed != WholeNumber::OK) {
            return usageError(wholeNumberError("node id", args.words[1], parsed, INT64_MIN, INT64_MAX));
        }
        oneNode = true;
    } else if (!args.words.empty()) {
        return usageError("usage: show map [--node ID]");
    }
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    LMNodeListMng mng(false);
    if (!readMap(mng)) {
        return EXIT_FAILURE_CODE;
    }
    NodeMap shown;
    if (oneNode) {
        auto found = mng.nodes.find(nodeId);
        if (found == mng.nodes.end()) {
            return failure("no node " + std::to_string((long long)nodeId) + " in the map");
        }
        shown.insert(*found);
    } else {
        shown.swap(mng.nodes);
    }
    if (args.json) {
        std::cout << "{\"count\":" << shown.size() << ",\"nodes\":"
                  << jsonArray(shown, [](const NodeMap::value_type& e) { return nodeJson(e.second); }) << "}"
                  << std::endl;
        return EXIT_OK;
    }
    if (!oneNode) {
        std::cout << "map: " << shown.size() << " nodes\n";
    }
    for (const auto& node : shown) {
        printNode(node.second);
    }
    std::cout.flush();
    return EXIT_OK;
}

// ---- locate and show location ----

std::string resultJson(const LMMapRes& res)
{
    return "{\"nodeId\":" + std::to_string((long long)res.nodeId) + ",\"upstreamNodeId\":" +
           std::to_string((long long)res.upstreamNodeId) + ",\"dis2StopLine\":" + number(res.dis2StopLine) +
           ",\"maxSpeed\":" + number(res.maxSpeed) + ",\"minSpeed\":" + number(res.minSpeed) + "," +
           ageJson(res) + "}";
}

std::string resultText(const LMMapRes& res)
{
    return "node " + std::to_string((long long)res.nodeId) + ", link from " +
           std::to_string((long long)res.upstreamNodeId) + ": " + fixed(res.dis2StopLine, 1) +
           " m to the stop line, max " + speedText(res.maxSpeed) + ", min " + speedText(res.minSpeed);
}

// The compass heading in degrees (clockwise from north) in the search's
// convention, radians counterclockwise from east, turned as a fix turns it.
double headingFromCompass(float degrees)
{
    GNSS fix;
    fix.heading = degrees;
    fix.refreshMovable2D();
    return fix.motion.heading;
}

int locate(const ToolArgs& args)
{
    GeoCoordinates position;
    float compass = 0.0f;
    double fixTime = 0.0;  // the lights are taken at the fix's moment
    bool fromGnss = args.words.size() == 1 && args.words[0] == "--gnss";
    if (!fromGnss) {
        double lon = 0.0;
        double lat = 0.0;
        double heading = 0.0;
        if (args.words.size() != 3) {
            return usageError("usage: locate LON LAT HEADING_DEG | locate --gnss");
        }
        if (!parseNumber(args.words[0], &lon) || lon < -180.0 || lon > 180.0) {
            return usageError("longitude '" + args.words[0] + "' is not a number of degrees in -180..180");
        }
        if (!parseNumber(args.words[1], &lat) || lat < -90.0 || lat > 90.0) {
            return usageError("latitude '" + args.words[1] + "' is not a number of degrees in -90..90");
        }
        if (!parseNumber(args.words[2], &heading) || heading < 0.0 || heading > 360.0) {
            return usageError("heading '" + args.words[2] + "' is not in 0..360 degrees clockwise from north");
        }
        position.longitude = lon;
        position.latitude = lat;
        compass = (float)heading;
    }
    if (!requireOwner(*findList("map")) || !requireOwner(*findList("location"))
        || (fromGnss && !requireOwner(*findList("gnss")))) {
        return EXIT_FAILURE_CODE;
    }
    if (fromGnss) {
        DevGNSSMng gnss(false);
        guardLockWait("gnss");
        int rc = gnss.update();
        releaseLockGuard();
        if (rc != 1) {
            return failure("could not read the GNSS fix");
        }
        if (gnss.gnss.getLatestRefreshTime() == 0.0) {
            return failure("no GNSS fix has been published yet");
        }
        position = gnss.gnss.position;
        compass = gnss.gnss.heading;
        fixTime = gnss.gnss.getLatestRefreshTime();
    }
    LMNodeListMng mng(false);
    if (!readMap(mng)) {
        return EXIT_FAILURE_CODE;
    }
    LMMapRes res;
    int found = mng.calcVehLocationInLM(position, headingFromCompass(compass), &res);
    if (found == 1) {
        LMMapResMng published(false);
        published.mapRes = res;
        guardLockWait("location");
        int rc = published.commit();
        releaseLockGuard();
        if (rc != 1) {
            return failure("could not publish the location");
        }
    }
    if (args.json) {
        std::cout << "{\"result\":" << found << ",\"lon\":" << number(position.longitude) << ",\"lat\":"
                  << number(position.latitude) << ",\"heading\":" << number(compass)
                  << ",\"location\":" << (found == 1 ? resultJson(res) : "null")
                  << (found == 1 ? "," + approachReport(res, mng.nodes, position, true, fixTime) : "") << "}" << std::endl;
    } else if (found == 1) {
        std::cout << resultText(res) << approachReport(res, mng.nodes, position, false, fixTime) << std::endl;
    } else {
        std::cout << "no link within reach (" << found << "); the published location is left as it was"
                  << std::endl;
    }
    return EXIT_OK;
}

int showLocation(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show location");
    }
    if (!requireOwner(*findList("location"))) {
        return EXIT_FAILURE_CODE;
    }
    LMMapResMng mng(false);
    guardLockWait("location");
    int rc = mng.update();
    releaseLockGuard();
    if (rc != 1) {
        return failure("could not read the location");
    }
    const LMMapRes& res = mng.mapRes;
    if (args.json) {
        std::cout << resultJson(res) << std::endl;
    } else if (res.getLatestRefreshTime() == 0.0) {
        std::cout << "no location published yet" << std::endl;
    } else {
        std::cout << resultText(res) << "; computed " << ageText(res) << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdShowMap(const std::string& what, const ToolArgs& args)
{
    return what == "map" ? showMap(args) : showLocation(args);
}

int cmdMap(const ToolArgs& args)
{
    if (args.words.empty()) {
        return usageError("usage: map load FILE | map age");
    }
    const std::string& sub = args.words[0];
    if (sub == "load") return mapLoad(args);
    if (sub == "age") return mapAge(args);
    return usageError("unknown map command: " + sub + " (load, age)");
}

int cmdLocate(const ToolArgs& args)
{
    return locate(args);
}
