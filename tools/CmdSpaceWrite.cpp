// v2xshm gnss push --lon X --lat Y --speed V --heading H [--time-ms MS] [--precision P]
// v2xshm vehicle disabled on|off
//
// The two writes a positioning or control process makes: a new fix (to the
// fix list and the trace) and the disabled-vehicle event.
#include "Commands.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <unistd.h>

#include "ListAccess.h"
#include "SpaceJson.h"
#include "ToolText.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/VehStatusMng.h"
#include "v2xshm-unit/FixPush.h"

namespace {

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
std::string parseFixOptions(const std::vector<std::string>& words, size_t from, const std::vector<std::string>& known,
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

// The fix the options give, or the complaint about them.
std::string readingFromOptions(std::map<std::string, double>& v, FixReading* r)
{
    for (const char* required : {"lon", "lat", "speed", "heading"}) {
        if (v.count(required) == 0) {
            return std::string("missing --") + required;
        }
    }
    r->longitude = v["lon"];
    r->latitude = v["lat"];
    r->speed = v["speed"];
    r->heading = v["heading"];
    if (v.count("time-ms") != 0) r->timeMs = v["time-ms"];
    if (v.count("precision") != 0) r->precision = v["precision"];
    switch (checkFix(*r)) {
    case FIX_OK:
        return "";
    case FIX_LONGITUDE:
        return "--lon " + formatNumber(r->longitude) + " is outside [-180, 180] degrees";
    case FIX_LATITUDE:
        return "--lat " + formatNumber(r->latitude) + " is outside [-90, 90] degrees";
    case FIX_SPEED:
        return "--speed " + formatNumber(r->speed) + " must be a speed >= 0 in m/s";
    case FIX_HEADING:
        return "--heading " + formatNumber(r->heading) + " is outside [0, 360) degrees";
    case FIX_TIME:
        return "--time-ms " + formatNumber(*r->timeMs) + " must be a whole number of ms within the minute (0..59999)";
    default:
        return "--precision " + formatNumber(*r->precision) + " must be >= 0 (99 means none)";
    }
}

int gnssPush(const ToolArgs& args)
{
    std::map<std::string, double> v;
    FixReading reading;
    std::string bad = parseFixOptions(args.words, 1, {"lon", "lat", "speed", "heading", "time-ms", "precision"}, &v);
    if (bad.empty()) {
        bad = readingFromOptions(v, &reading);
    }
    if (!bad.empty()) {
        return usageError(bad + " (usage: gnss push --lon X --lat Y --speed V --heading H [--time-ms MS] "
                                "[--precision P])");
    }
    // Both lists must be there before anything is written.
    if (!listReady("gnss") || !listReady("trace")) {
        return EXIT_FAILURE_CODE;
    }
    DevGNSSMng gnss(false);
    VehTraceMng trace(false);
    GNSS fix;
    // The trace reports each insert on standard output; keep JSON output
    // clean by sending that line to standard error.
    std::cout.flush();
    int savedOut = -1;
    if (args.json) {
        savedOut = dup(STDOUT_FILENO);
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    int rc = guarded("gnss and trace", [&] { return pushFix(reading, &gnss, &trace, &fix); });
    std::cout.flush();
    if (savedOut >= 0) {
        dup2(savedOut, STDOUT_FILENO);
        close(savedOut);
    }
    if (rc != 1) {
        return failure(rc == -4   ? "fix stored and added to the trace, but could not read the trace back"
                       : rc == -3 ? "fix stored, but could not add it to the trace"
                                  : "could not write the gnss list");
    }
    int32_t index = trace.trace.index;
    int32_t count = trace.trace.count;
    if (args.json) {
        printJson(GnssPushed{fix, index, count});
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
        printJson(VehDisabledView{disabled != 0, mng.status});
    } else {
        std::cout << "disabled-vehicle event " << (disabled ? "on" : "off") << ": event flags 0x" << eventHex
                  << " [source " << (int)source << " " << vehSourceName(source) << "]" << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

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
