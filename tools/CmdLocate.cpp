// v2xshm locate LON LAT HEADING_DEG | locate --gnss | show location
//
// A locating process's cycle: place the vehicle on the map, publish the
// location, then evaluate and publish the signal state of the approach and
// the road-side information on it (unit layer), when their lists have owners.
#include "Commands.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <iostream>

#include "ApproachJson.h"
#include "LocalMapFront.h"
#include "LocalMapJson.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/GNSS.h"
#include "v2xshm-unit/ApproachRSI.h"
#include "v2xshm-unit/SpeedAdvice.h"

namespace {

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

// The compass heading in degrees (clockwise from north) in the search's
// convention, radians counterclockwise from east, turned as a fix turns it.
double headingFromCompass(float degrees)
{
    GNSS fix;
    fix.heading = degrees;
    fix.refreshMovable2D();
    return fix.motion.heading;
}

std::string resultText(const LMMapRes& res)
{
    return "node " + std::to_string((long long)res.nodeId) + ", link from " +
           std::to_string((long long)res.upstreamNodeId) + ": " + fixed(res.dis2StopLine, 1) +
           " m to the stop line, max " + speedText(res.maxSpeed) + ", min " + speedText(res.minSpeed);
}

bool owned(const char* list)
{
    return probeList(*findList(list)).owned();
}

std::string adviceText(const SpeedAdvice& advice)
{
    constexpr double MS_TO_KMH = 3.6;
    if (advice.verdict == SpeedAdvice::GO) {
        return "; go at " + fixed(advice.low * MS_TO_KMH, 0) + " to " + fixed(advice.high * MS_TO_KMH, 0) + " km/h";
    }
    return advice.verdict == SpeedAdvice::STOP ? "; stop at the line" : "";
}

// The signal state of the approach at `at` (the fix's time, or now),
// evaluated and published (stamped `now`) when the light and phase-result
// lists have owners: text lines, JSON member "signal".
std::string signalLines(const LMMapRes& res, const std::map<int64_t, LMNodeExtend>& nodes, double at,
                        double now, double speed, Json* json)
{
    (*json)["signal"] = nullptr;
    if (!owned("lights") || !owned("phaseresult")) {
        return "";
    }
    LMTLListMng lights(false);
    ApproachSignal signal;
    if (!readList(lights, "lights") || evalApproachSignal(nodes, res, lights.lights, at, &signal) != 1) {
        return "";
    }
    LMTLPhaseResMng published(false);
    guardLockWait("phaseresult");
    publishApproachSignal(signal, now, &published);
    releaseLockGuard();
    std::vector<SpeedAdvice> advice;
    if (adviseApproach(signal, res, std::isfinite(speed) && speed > 0.0 ? speed : 0.0, &advice) < 0) {
        advice.clear();
    }
    std::string text;
    (*json)["signal"] = signal;
    for (size_t i = 0; i < signal.movements.size(); ++i) {
        const ApproachMovement& m = signal.movements[i];
        if (signal.lightReceived) {
            text += "\n  to " + std::to_string((long long)m.remoteNodeId) + " (phase " +
                    std::to_string((unsigned)m.phaseId) + "): " + phaseText(m.now) +
                    (i < advice.size() ? adviceText(advice[i]) : "");
        }
        (*json)["signal"][i]["advice"] = i < advice.size() ? Json(advice[i]) : Json(nullptr);
    }
    if (!signal.lightReceived) {
        text += "\n  no light received for node " + std::to_string((long long)res.nodeId);
    }
    return text;
}

// The road-side information on the approach, found and published when the
// RSI and RSI-result lists have owners: text lines, JSON member "rsi".
std::string rsiLines(const LMMapRes& res, const std::map<int64_t, LMNodeExtend>& nodes,
                     const GeoCoordinates& vehicle, double now, Json* json)
{
    (*json)["rsi"] = nullptr;
    if (!owned("rsi") || !owned("rsiresult")) {
        return "";
    }
    LMRSIListMng rsi(false);
    std::vector<ApproachRSI> found;
    if (!readList(rsi, "rsi") || findApproachRSI(nodes, res, rsi.records, vehicle, &found) < 0) {
        return "";
    }
    LMRSIResMng published(false);
    guardLockWait("rsiresult");
    publishApproachRSI(found, now, &published);
    releaseLockGuard();
    std::string text;
    for (const ApproachRSI& f : found) {
        text += "\n  road-side information, " + fixed(f.nearest, 0) + " m away: " + f.line();
    }
    (*json)["rsi"] = found;
    return text;
}

int locate(const ToolArgs& args)
{
    GeoCoordinates position;
    float compass = 0.0f;
    float speed = 0.0f;    // m/s; not given with a position on the command line
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
    if (!requireOwner(*findList("map")) || !requireOwner(*findList("location")) ||
        (fromGnss && !requireOwner(*findList("gnss")))) {
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
        speed = gnss.gnss.speed;
        fixTime = gnss.gnss.getLatestRefreshTime();
    }
    LMNodeListMng mng(false);
    if (!readList(mng, "map")) {
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
    Json doc{{"result", found}, {"lon", jsonNumber(position.longitude)}, {"lat", jsonNumber(position.latitude)},
             {"heading", jsonFloat(compass)}, {"location", nullptr}};
    std::string text;
    if (found == 1) {
        doc["location"] = res;
        double now = TimeTool::getPreciseTimeNow();
        text = signalLines(res, mng.nodes, fixTime > 0.0 ? fixTime : now, now, speed, &doc);
        text += rsiLines(res, mng.nodes, position, now, &doc);
    }
    if (args.json) {
        printJson(doc);
    } else if (found == 1) {
        std::cout << resultText(res) << text << std::endl;
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
        printJson(Json(res));
    } else if (res.getLatestRefreshTime() == 0.0) {
        std::cout << "no location published yet" << std::endl;
    } else {
        std::cout << resultText(res) << "; computed " << ageText(res) << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdShowLocation(const ToolArgs& args)
{
    return showLocation(args);
}

int cmdLocate(const ToolArgs& args)
{
    return locate(args);
}
