// v2xshm show gnss | trace [-n N] | vehicle
//
// The own vehicle's latest fix with its prediction for now, the trace of
// recent fixes (newest first) and the vehicle status with each item's
// source.
#include "Commands.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "ListAccess.h"
#include "SpaceJson.h"
#include "ToolText.h"
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/VehStatusMng.h"

namespace {

// ---- the fix ----

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
        printJson(GnssView{g, now, stored, predicted});
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
        printJson(TraceView{trace, shown, now});
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

// One item of the status: its name, its value as text, its source marker.
struct StatusItem {
    std::string name;
    std::string text;
    uint8_t source;
};

std::vector<StatusItem> statusItems(const VehStatus& s)
{
    uint8_t transmission = s.transmission;
    Accel4Way accel = s.accelSet;
    BrakeSys brakes = s.brakes;
    uint8_t brakeBytes[sizeof(BrakeSys)];
    memcpy(brakeBytes, &brakes, sizeof brakeBytes);
    uint8_t events[2] = {s.eventFlags[0], s.eventFlags[1]};
    bool disabled = (events[VehStatus::DISABLED_BYTE] & VehStatus::DISABLED_MASK) != 0;
    int32_t lon = accel.longitudinal, lat = accel.lateral, vert = accel.vertical, yaw = accel.yawRate;
    char eventHex[8];
    snprintf(eventHex, sizeof eventHex, "%02x%02x", events[0], events[1]);
    return {
        {"transmission",
         std::to_string(transmission) + (transmission == VehStatus::TRANSMISSION_UNAVAILABLE ? " (unavailable)" : ""),
         s.transmissionSource},
        {"item1", std::to_string((int32_t)s.item1), s.item1Source},
        {"item2", std::to_string((int32_t)s.item2), s.item2Source},
        {"item3", std::to_string((int32_t)s.item3), s.item3Source},
        {"accelSet",
         "longitudinal " + std::to_string(lon) + ", lateral " + std::to_string(lat) + ", vertical " +
             std::to_string(vert) + ", yaw rate " + std::to_string(yaw),
         s.accelSetSource},
        {"brakes", hexText(brakeBytes, sizeof brakeBytes, " "), s.brakesSource},
        {"eventFlags", std::string("0x") + eventHex + (disabled ? " (disabled vehicle)" : ""), s.eventFlagsSource},
        {"item4", std::to_string((uint16_t)s.item4), s.item4Source},
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
    double now = TimeTool::getPreciseTimeNow();
    if (args.json) {
        printJson(VehStatusAt{mng.status, now});
        return EXIT_OK;
    }
    double stamp = mng.status.latestRefreshTime;
    std::cout << "refreshed:    " << (stamp == 0.0 ? std::string("never") : "age " + fixed(now - stamp, 3) + " s")
              << "\n";
    for (const StatusItem& item : statusItems(mng.status)) {
        char head[32];
        snprintf(head, sizeof head, "%-13s ", (item.name + ":").c_str());
        std::cout << head << item.text << "  [source " << (int)item.source << " " << vehSourceName(item.source)
                  << "]\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

}  // namespace

int cmdShowSpace(const std::string& what, const ToolArgs& args)
{
    if (what == "gnss") return showGnss(args);
    if (what == "trace") return showTrace(args);
    return showVehicle(args);
}
