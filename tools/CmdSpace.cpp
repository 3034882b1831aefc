// v2xshm show gnss | trace [-n N] | vehicle
// v2xshm gnss push --lon X --lat Y --speed V --heading H [--time-ms MS] [--precision P]
// v2xshm vehicle disabled on|off
//
// The own vehicle's latest fix with its prediction for now, the trace of
// recent fixes (newest first), the vehicle status with each item's source,
// and the two writes a positioning or control process makes: a new fix (to
// the fix list and the trace) and the disabled-vehicle event.
#include "Commands.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <sys/time.h>
#include <unistd.h>

#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/VehStatusMng.h"

namespace {

// The fewest significant digits that read back to the same value (as a
// double, or as a float when asFloat), in plain notation for the magnitudes
// positions, speeds and times have, so that 10 prints as "10", not "1e+01".
std::string shortest(double value, bool asFloat)
{
    char buf[64];
    int digits = 1;
    for (; digits <= 17; ++digits) {
        snprintf(buf, sizeof buf, "%.*g", digits, value);
        double back = strtod(buf, nullptr);
        if (asFloat ? (float)back == (float)value : back == value) {
            break;
        }
    }
    double magnitude = std::fabs(value);
    if (strchr(buf, 'e') != nullptr && magnitude >= 1e-4 && magnitude < 1e15) {
        int decimals = digits - 1 - (int)std::floor(std::log10(magnitude));
        snprintf(buf, sizeof buf, "%.*f", decimals < 0 ? 0 : decimals, value);
    }
    return buf;
}

std::string formatNumber(double value)
{
    return shortest(value, false);
}

std::string formatFloat(float value)
{
    return shortest(value, true);
}

std::string jsonNumber(double value)
{
    return std::isfinite(value) ? formatNumber(value) : "null";
}

std::string jsonFloat(float value)
{
    return std::isfinite(value) ? formatFloat(value) : "null";
}

std::string fixed(double value, int decimals)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

// The list's owner is running and its segment is large enough to attach:
// only then may a non-owner manager be made (it would otherwise create the
// segment or fail to attach).
bool listReady(const char* name)
{
    const ListInfo& list = *findList(name);
    if (!requireOwner(list)) {
        return false;
    }
    ListProbe probe = probeList(list);
    if (probe.segmentSize < list.size) {
        failure(std::string("segment of list ") + name + " has " + std::to_string(probe.segmentSize) +
                " bytes, the list needs " + std::to_string(list.size));
        return false;
    }
    return true;
}

// Runs one transfer under the lock guard of `name`.
template <typename Fn>
int guarded(const char* name, Fn fn)
{
    guardLockWait(name);
    int rc = fn();
    releaseLockGuard();
    return rc;
}

// ---- the fix ----

std::string hemisphere(char c)
{
    return (c >= 0x20 && c < 0x7F) ? std::string(1, c) : "?";
}

std::string fixJson(const GNSS& g, double now)
{
    double stamp = g.latestRefreshTime;
    std::string out = "{\"refreshTime\":" + jsonNumber(stamp) + ",\"age\":" + jsonNumber(now - stamp);
    out += ",\"second\":" + std::to_string(g.time.second) + ",\"millisecond\":" + std::to_string(g.time.millisecond);
    out += ",\"longitude\":" + jsonNumber(g.position.longitude) + ",\"latitude\":" + jsonNumber(g.position.latitude);
    out += ",\"lonHemisphere\":" + jsonString(hemisphere(g.position.lonHemisphere)) +
           ",\"latHemisphere\":" + jsonString(hemisphere(g.position.latHemisphere));
    out += ",\"altitude\":" + jsonNumber(g.position.altitude);
    out += ",\"speed\":" + jsonFloat(g.speed) + ",\"heading\":" + jsonFloat(g.heading) +
           ",\"precision\":" + jsonFloat(g.precision);
    out += ",\"motion\":{\"time\":" + std::to_string(g.motion.time) + ",\"heading\":" + jsonNumber(g.motion.heading) +
           ",\"speed\":" + jsonNumber(g.motion.speed) + ",\"speedEast\":" + jsonNumber(g.motion.speedX) +
           ",\"speedNorth\":" + jsonNumber(g.motion.speedY) + "}}";
    return out;
}

std::string positionText(double lon, double lat)
{
    return "lon " + fixed(lon, 7) + ", lat " + fixed(lat, 7);
}

std::string fixLine(const GNSS& g, double now)
{
    std::string line = positionText(g.position.longitude, g.position.latitude) + ", speed " +
                       formatFloat(g.speed) + " m/s, heading " + formatFloat(g.heading) + " deg";
    float precision = g.precision;
    line += precision == 99.0f ? ", precision none" : ", precision " + formatFloat(precision);
    double stamp = g.latestRefreshTime;
    line += stamp == 0.0 ? ", never stored" : ", age " + fixed(now - stamp, 3) + " s";
    return line;
}

int showGnss(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show gnss");
    }
    if (!listReady("gnss")) {
        return EXIT_FAILURE_CODE;
    }
    DevGNSSMng mng(false);
    if (guarded("gnss", [&] { return mng.update(); }) != 1) {
        return failure("could not read the gnss list");
    }
    const GNSS& g = mng.gnss;
    double now = TimeTool::getPreciseTimeNow();
    bool stored = g.latestRefreshTime != 0.0;
    // Never stored: an age since 1970 would predict nonsense.
    GeoCoordinates predicted = g.position;
    GNSS copy = g;
    if (stored) {
        copy.predictGeoCoordinatesAfter(now - copy.latestRefreshTime, &predicted);
    }
    if (args.json) {
        std::cout << "{\"stored\":" << (stored ? "true" : "false") << ",\"fix\":" << fixJson(g, now)
                  << ",\"predicted\":"
                  << (stored ? "{\"longitude\":" + jsonNumber(predicted.longitude) +
                                   ",\"latitude\":" + jsonNumber(predicted.latitude) + "}"
                             : std::string("null"))
                  << "}" << std::endl;
        return EXIT_OK;
    }
    if (!stored) {
        std::cout << "no fix stored yet" << std::endl;
        return EXIT_OK;
    }
    int16_t second = g.time.second;
    int16_t millisecond = g.time.millisecond;
    char timeText[32];
    snprintf(timeText, sizeof timeText, "%d.%03d s", second, millisecond);
    std::cout << "fix:       " << fixLine(g, now) << "\n"
              << "time:      " << timeText << " within the minute\n"
              << "motion:    heading " << fixed(g.motion.heading, 6) << " rad (0 = east, counterclockwise), east "
              << fixed(g.motion.speedX, 3) << " m/s, north " << fixed(g.motion.speedY, 3) << " m/s\n"
              << "predicted: " << positionText(predicted.longitude, predicted.latitude) << " (now)" << std::endl;
    return EXIT_OK;
}

// ---- the trace ----

// A whole number >= 1 (the -n option).
bool parseCount(const std::string& text, int* out)
{
    long long value = 0;
    if (readWholeNumber(text, 1, 1000000, &value) != WholeNumber::OK) {
        return false;
    }
    *out = (int)value;
    return true;
}

int showTrace(const ToolArgs& args)
{
    int limit = VehTrace::CAPACITY;
    if (args.words.size() == 2 && args.words[0] == "-n") {
        if (!parseCount(args.words[1], &limit)) {
            return usageError("-n wants a whole number of fixes >= 1, not '" + args.words[1] + "'");
        }
    } else if (!args.words.empty()) {
        return usageError("usage: show trace [-n N]");
    }
    if (!listReady("trace")) {
        return EXIT_FAILURE_CODE;
    }
    VehTraceMng mng(false);
    if (guarded("trace", [&] { return mng.update(); }) != 1) {
        return failure("could not read the trace list");
    }
    const VehTrace& trace = mng.trace;
    int32_t rawIndex = trace.index;
    int32_t rawCount = trace.count;
    int count = trace.boundedCount();
    int shown = count < limit ? count : limit;
    bool damaged = rawIndex != trace.boundedIndex() || rawCount != count;
    double now = TimeTool::getPreciseTimeNow();

    if (args.json) {
        std::cout << "{\"index\":" << rawIndex << ",\"count\":" << rawCount << ",\"damaged\":"
                  << (damaged ? "true" : "false") << ",\"shown\":" << shown << ",\"fixes\":[";
        for (int back = 0; back < shown; ++back) {
            int slot = trace.slotOf(back);
            std::cout << (back ? "," : "") << "{\"slot\":" << slot << ",\"fix\":" << fixJson(trace.trace[slot], now)
                      << "}";
        }
        std::cout << "]}" << std::endl;
        return EXIT_OK;
    }
    std::cout << "trace: " << count << " fixes, newest in slot " << trace.boundedIndex();
    if (damaged) {
        std::cout << " (stored index " << rawIndex << ", count " << rawCount << " out of range; bounded)";
    }
    std::cout << "\n";
    for (int back = 0; back < shown; ++back) {
        int slot = trace.slotOf(back);
        char head[32];
        snprintf(head, sizeof head, "%4d  slot %3d  ", back, slot);
        std::cout << head << fixLine(trace.trace[slot], now) << "\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

// ---- the vehicle status ----

std::string sourceName(uint8_t marker)
{
    switch (marker) {
    case VehStatus::SOURCE_NONE: return "not set";
    case VehStatus::SOURCE_BUS: return "vehicle bus";
    case VehStatus::SOURCE_MANUAL: return "set by hand";
    default: return "unknown";
    }
}

std::string hexBytes(const uint8_t* bytes, int n)
{
    std::string out;
    char buf[4];
    for (int i = 0; i < n; ++i) {
        snprintf(buf, sizeof buf, "%02x", bytes[i]);
        out += (i ? " " : "") + std::string(buf);
    }
    return out;
}

// One item of the status: its name, its value as text and as JSON, its marker.
struct StatusItem {
    std::string name;
    std::string text;
    std::string json;
    uint8_t source;
};

std::vector<StatusItem> statusItems(const VehStatus& s)
{
    uint8_t transmission = s.transmission;
    int32_t item1 = s.item1, item2 = s.item2, item3 = s.item3;
    uint16_t item4 = s.item4;
    Accel4Way accel = s.accelSet;
    BrakeSys brakes = s.brakes;
    uint8_t brakeBytes[sizeof(BrakeSys)];
    memcpy(brakeBytes, &brakes, sizeof brakeBytes);
    uint8_t events[2] = {s.eventFlags[0], s.eventFlags[1]};
    bool disabled = (events[VehStatus::DISABLED_BYTE] & VehStatus::DISABLED_MASK) != 0;

    int32_t lon = accel.longitudinal, lat = accel.lateral, vert = accel.vertical, yaw = accel.yawRate;
    std::string accelText = "longitudinal " + std::to_string(lon) + ", lateral " + std::to_string(lat) +
                            ", vertical " + std::to_string(vert) + ", yaw rate " + std::to_string(yaw);
    std::string accelJson = "{\"longitudinal\":" + std::to_string(lon) + ",\"lateral\":" + std::to_string(lat) +
                            ",\"vertical\":" + std::to_string(vert) + ",\"yawRate\":" + std::to_string(yaw) + "}";
    char eventHex[8];
    snprintf(eventHex, sizeof eventHex, "%02x%02x", events[0], events[1]);
    std::string eventText = std::string("0x") + eventHex + (disabled ? " (disabled vehicle)" : "");
    std::string eventJson = "{\"bits\":\"" + std::string(eventHex) + "\",\"disabled\":" + (disabled ? "true" : "false") + "}";

    return {
        {"transmission", std::to_string(transmission) + (transmission == VehStatus::TRANSMISSION_UNAVAILABLE ? " (unavailable)" : ""),
         std::to_string(transmission), s.transmissionSource},
        {"item1", std::to_string(item1), std::to_string(item1), s.item1Source},
        {"item2", std::to_string(item2), std::to_string(item2), s.item2Source},
        {"item3", std::to_string(item3), std::to_string(item3), s.item3Source},
        {"accelSet", accelText, accelJson, s.accelSetSource},
        {"brakes", hexBytes(brakeBytes, sizeof brakeBytes), jsonString(hexBytes(brakeBytes, sizeof brakeBytes)), s.brakesSource},
        {"eventFlags", eventText, eventJson, s.eventFlagsSource},
        {"item4", std::to_string(item4), std::to_string(item4), s.item4Source},
    };
}

int showVehicle(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show vehicle");
    }
    if (!listReady("vehicle")) {
        return EXIT_FAILURE_CODE;
    }
    VehStatusMng mng(false);
    if (guarded("vehicle", [&] { return mng.update(); }) != 1) {
        return failure("could not read the vehicle list");
    }
    double stamp = mng.status.latestRefreshTime;
    double now = TimeTool::getPreciseTimeNow();
    std::vector<StatusItem> items = statusItems(mng.status);
    if (args.json) {
        std::cout << "{\"refreshTime\":" << jsonNumber(stamp) << ",\"age\":"
                  << (stamp == 0.0 ? std::string("null") : jsonNumber(now - stamp)) << ",\"items\":{";
        for (size_t i = 0; i < items.size(); ++i) {
            const StatusItem& item = items[i];
            std::cout << (i ? "," : "") << jsonString(item.name) << ":{\"value\":" << item.json
                      << ",\"source\":" << (int)item.source << ",\"sourceName\":" << jsonString(sourceName(item.source))
                      << "}";
        }
        std::cout << "}}" << std::endl;
        return EXIT_OK;
    }
    std::cout << "refreshed:    " << (stamp == 0.0 ? std::string("never") : "age " + fixed(now - stamp, 3) + " s")
              << "\n";
    for (const StatusItem& item : items) {
        char head[32];
        snprintf(head, sizeof head, "%-13s ", (item.name + ":").c_str());
        std::cout << head << item.text << "  [source " << (int)item.source << " " << sourceName(item.source)
                  << "]\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

// ---- writes ----

// A finite number making up the whole text.
bool parseNumber(const std::string& text, double* out)
{
    if (text.empty() || isspace((unsigned char)text[0])) {
        return false;
    }
    char* end = nullptr;
    double value = strtod(text.c_str(), &end);
    if (*end != '\0' || !std::isfinite(value)) {
        return false;
    }
    *out = value;
    return true;
}

// Reads "--name value" pairs; an empty string on success, else the complaint.
std::string parseOptions(const std::vector<std::string>& words, size_t from, const std::vector<std::string>& known,
                         std::map<std::string, double>* values)
{
    for (size_t i = from; i < words.size(); i += 2) {
        const std::string& name = words[i];
        bool isKnown = false;
        for (const std::string& k : known) {
            isKnown = isKnown || name == "--" + k;
        }
        if (!isKnown) {
            return "unknown option: " + name;
        }
        if (i + 1 >= words.size()) {
            return name + " needs a value";
        }
        std::string key = name.substr(2);
        if (values->count(key) != 0) {
            return name + " given twice";
        }
        double value;
        if (!parseNumber(words[i + 1], &value)) {
            return name + " wants a number, not '" + words[i + 1] + "'";
        }
        (*values)[key] = value;
    }
    return "";
}

// Checks the options of a fix; an empty string when they make a valid fix.
std::string checkFix(const std::map<std::string, double>& v)
{
    for (const char* required : {"lon", "lat", "speed", "heading"}) {
        if (v.count(required) == 0) {
            return std::string("missing --") + required;
        }
    }
    double lon = v.at("lon"), lat = v.at("lat"), speed = v.at("speed"), heading = v.at("heading");
    if (lon < -180.0 || lon > 180.0) {
        return "--lon " + formatNumber(lon) + " is outside [-180, 180] degrees";
    }
    if (lat < -90.0 || lat > 90.0) {
        return "--lat " + formatNumber(lat) + " is outside [-90, 90] degrees";
    }
    if (speed < 0.0 || !std::isfinite((float)speed)) {
        return "--speed " + formatNumber(speed) + " must be a speed >= 0 in m/s";
    }
    // Checked as stored: 359.99999999 would round to 360.0f.
    float h = (float)heading;
    if (!(h >= 0.0f && h < 360.0f)) {
        return "--heading " + formatNumber(heading) + " is outside [0, 360) degrees";
    }
    if (v.count("time-ms") != 0) {
        double ms = v.at("time-ms");
        if (ms < 0.0 || ms > 59999.0 || ms != std::floor(ms)) {
            return "--time-ms " + formatNumber(ms) + " must be a whole number of ms within the minute (0..59999)";
        }
    }
    if (v.count("precision") != 0) {
        double p = v.at("precision");
        if (p < 0.0 || !std::isfinite((float)p)) {
            return "--precision " + formatNumber(p) + " must be >= 0 (99 means none)";
        }
    }
    return "";
}

// The time within the minute now, in ms, as a receiver would report it.
int msWithinMinuteNow()
{
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return (int)((tv.tv_sec % 60) * 1000 + tv.tv_usec / 1000);
}

int gnssPush(const ToolArgs& args)
{
    std::map<std::string, double> v;
    std::string bad = parseOptions(args.words, 1, {"lon", "lat", "speed", "heading", "time-ms", "precision"}, &v);
    if (bad.empty()) {
        bad = checkFix(v);
    }
    if (!bad.empty()) {
        return usageError(bad + " (usage: gnss push --lon X --lat Y --speed V --heading H [--time-ms MS] "
                                "[--precision P])");
    }
    // Both lists must be there before anything is written.
    if (!listReady("gnss") || !listReady("trace")) {
        return EXIT_FAILURE_CODE;
    }

    GNSS fix;
    fix.position.longitude = v["lon"];
    fix.position.latitude = v["lat"];
    fix.position.lonHemisphere = v["lon"] < 0.0 ? 'W' : 'E';
    fix.position.latHemisphere = v["lat"] < 0.0 ? 'S' : 'N';
    fix.speed = (float)v["speed"];
    fix.heading = (float)v["heading"];
    if (v.count("precision") != 0) {
        fix.precision = (float)v["precision"];
    }
    int ms = v.count("time-ms") != 0 ? (int)v["time-ms"] : msWithinMinuteNow();
    fix.time.second = (int16_t)(ms / 1000);
    fix.time.millisecond = (int16_t)(ms % 1000);
    fix.refreshTime();
    fix.refreshMovable2D();

    DevGNSSMng gnss(false);
    gnss.gnss = fix;
    if (guarded("gnss", [&] { return gnss.commit(); }) != 1) {
        return failure("could not write the gnss list");
    }

    // The trace reports each insert on standard output; keep JSON output
    // clean by sending that line to standard error.
    VehTraceMng trace(false);
    std::cout.flush();
    int savedOut = -1;
    if (args.json) {
        savedOut = dup(STDOUT_FILENO);
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    int rc = guarded("trace", [&] { return trace.operateSHMNotSafe(VehTraceMng::insertOneGNSS2Trace, &fix); });
    std::cout.flush();
    if (savedOut >= 0) {
        dup2(savedOut, STDOUT_FILENO);
        close(savedOut);
    }
    if (rc != 1) {
        return failure("fix stored, but could not add it to the trace");
    }
    if (guarded("trace", [&] { return trace.update(); }) != 1) {
        return failure("fix stored and added to the trace, but could not read the trace back");
    }
    int32_t index = trace.trace.index;
    int32_t count = trace.trace.count;
    if (args.json) {
        std::cout << "{\"fix\":" << fixJson(fix, fix.latestRefreshTime) << ",\"trace\":{\"index\":" << index
                  << ",\"count\":" << count << "}}" << std::endl;
    } else {
        std::cout << "pushed: " << positionText(fix.position.longitude, fix.position.latitude) << ", speed "
                  << formatFloat(fix.speed) << " m/s, heading " << formatFloat(fix.heading) << " deg (motion "
                  << fixed(fix.motion.heading, 6) << " rad); trace holds " << count << ", newest in slot " << index
                  << std::endl;
    }
    return EXIT_OK;
}

int vehicleDisabled(const ToolArgs& args)
{
    if (args.words.size() != 2 || (args.words[1] != "on" && args.words[1] != "off")) {
        return usageError("usage: vehicle disabled on|off");
    }
    if (!listReady("vehicle")) {
        return EXIT_FAILURE_CODE;
    }
    int disabled = args.words[1] == "on" ? 1 : 0;
    VehStatusMng mng(false);
    if (guarded("vehicle", [&] { return mng.operateSHMNotSafe(VehStatusMng::setVehDisabledInSHM, &disabled); }) != 1) {
        return failure("could not change the vehicle list");
    }
    if (guarded("vehicle", [&] { return mng.update(); }) != 1) {
        return failure("event changed, but could not read the vehicle list back");
    }
    uint8_t events[2] = {mng.status.eventFlags[0], mng.status.eventFlags[1]};
    uint8_t source = mng.status.eventFlagsSource;
    char eventHex[8];
    snprintf(eventHex, sizeof eventHex, "%02x%02x", events[0], events[1]);
    if (args.json) {
        std::cout << "{\"disabled\":" << (disabled ? "true" : "false") << ",\"eventFlags\":\"" << eventHex
                  << "\",\"source\":" << (int)source << ",\"sourceName\":" << jsonString(sourceName(source)) << "}"
                  << std::endl;
    } else {
        std::cout << "disabled-vehicle event " << (disabled ? "on" : "off") << ": event flags 0x" << eventHex
                  << " [source " << (int)source << " " << sourceName(source) << "]" << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdShowSpace(const std::string& what, const ToolArgs& args)
{
    if (what == "gnss") return showGnss(args);
    if (what == "trace") return showTrace(args);
    return showVehicle(args);
}

int cmdGnss(const ToolArgs& args)
{
    if (args.words.empty() || args.words[0] != "push") {
        return usageError("usage: gnss push --lon X --lat Y --speed V --heading H [--time-ms MS] [--precision P]");
    }
    return gnssPush(args);
}

int cmdVehicle(const ToolArgs& args)
{
    if (args.words.empty() || args.words[0] != "disabled") {
        return usageError("usage: vehicle disabled on|off");
    }
    return vehicleDisabled(args);
}
