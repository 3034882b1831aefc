#include "SpaceJson.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "JsonText.h"

namespace {

std::string hemisphere(char c)
{
    return (c >= 0x20 && c < 0x7F) ? std::string(1, c) : "?";
}

void fixJson(Json& j, const GNSS& g, const double* now)
{
    double stamp = g.latestRefreshTime;
    j = {{"refreshTime", jsonNumber(stamp)}};
    if (now != nullptr) {
        j["age"] = jsonNumber(*now - stamp);
    }
    Movable2D motion = g.motion;
    j.update({{"second", (int)g.time.second},
              {"millisecond", (int)g.time.millisecond},
              {"longitude", jsonNumber(g.position.longitude)},
              {"latitude", jsonNumber(g.position.latitude)},
              {"lonHemisphere", hemisphere(g.position.lonHemisphere)},
              {"latHemisphere", hemisphere(g.position.latHemisphere)},
              {"altitude", jsonNumber(g.position.altitude)},
              {"speed", jsonFloat(g.speed)},
              {"heading", jsonFloat(g.heading)},
              {"precision", jsonFloat(g.precision)},
              {"motion",
               {{"time", (int)motion.time},
                {"heading", jsonNumber(motion.heading)},
                {"speed", jsonNumber(motion.speed)},
                {"speedEast", jsonNumber(motion.speedX)},
                {"speedNorth", jsonNumber(motion.speedY)}}}});
}

std::string eventHex(const VehStatus& s)
{
    uint8_t events[2] = {s.eventFlags[0], s.eventFlags[1]};
    return hexText(events, 2, "");
}

Json item(const Json& value, uint8_t source)
{
    return {{"value", value}, {"source", (int)source}, {"sourceName", vehSourceName(source)}};
}

}  // namespace

void to_json(Json& j, const GNSS& fix)
{
    fixJson(j, fix, nullptr);
}

void to_json(Json& j, const FixAt& view)
{
    fixJson(j, view.fix, &view.now);
}

void to_json(Json& j, const GnssView& view)
{
    j = {{"stored", view.stored}, {"fix", FixAt{view.fix, view.now}}, {"predicted", nullptr}};
    if (view.stored) {
        j["predicted"] = {{"longitude", jsonNumber(view.predicted.longitude)},
                          {"latitude", jsonNumber(view.predicted.latitude)}};
    }
}

void to_json(Json& j, const GnssPushed& view)
{
    j = {{"fix", FixAt{view.fix, view.fix.latestRefreshTime}},
         {"trace", {{"index", view.traceIndex}, {"count", view.traceCount}}}};
}

void to_json(Json& j, const TraceView& view)
{
    const VehTrace& trace = view.trace;
    int32_t index = trace.index;
    int32_t count = trace.count;
    bool damaged = index != trace.boundedIndex() || count != trace.boundedCount();
    Json fixes = Json::array();
    for (int back = 0; back < view.shown; ++back) {
        int slot = trace.slotOf(back);
        fixes.push_back({{"slot", slot}, {"fix", FixAt{trace.trace[slot], view.now}}});
    }
    j = {{"index", index}, {"count", count}, {"damaged", damaged}, {"shown", view.shown}, {"fixes", fixes}};
}

const char* vehSourceName(uint8_t marker)
{
    switch (marker) {
    case VehStatus::SOURCE_NONE: return "not set";
    case VehStatus::SOURCE_BUS: return "vehicle bus";
    case VehStatus::SOURCE_MANUAL: return "set by hand";
    default: return "unknown";
    }
}

void to_json(Json& j, const VehStatusAt& view)
{
    const VehStatus& s = view.status;
    double stamp = s.latestRefreshTime;
    Accel4Way accel = s.accelSet;
    BrakeSys brakes = s.brakes;
    uint8_t brakeBytes[sizeof(BrakeSys)];
    memcpy(brakeBytes, &brakes, sizeof brakeBytes);
    bool disabled = (s.eventFlags[VehStatus::DISABLED_BYTE] & VehStatus::DISABLED_MASK) != 0;
    Json accelJson = {{"longitudinal", (int32_t)accel.longitudinal},
                      {"lateral", (int32_t)accel.lateral},
                      {"vertical", (int32_t)accel.vertical},
                      {"yawRate", (int32_t)accel.yawRate}};
    Json items = {{"transmission", item((int)s.transmission, s.transmissionSource)},
                  {"item1", item((int32_t)s.item1, s.item1Source)},
                  {"item2", item((int32_t)s.item2, s.item2Source)},
                  {"item3", item((int32_t)s.item3, s.item3Source)},
                  {"accelSet", item(accelJson, s.accelSetSource)},
                  {"brakes", item(hexText(brakeBytes, sizeof brakeBytes, " "), s.brakesSource)},
                  {"eventFlags", item({{"bits", eventHex(s)}, {"disabled", disabled}}, s.eventFlagsSource)},
                  {"item4", item((int)(uint16_t)s.item4, s.item4Source)}};
    j = {{"refreshTime", jsonNumber(stamp)},
         {"age", stamp == 0.0 ? Json() : jsonNumber(view.now - stamp)},
         {"items", items}};
}

void to_json(Json& j, const VehDisabledView& view)
{
    uint8_t source = view.status.eventFlagsSource;
    j = {{"disabled", view.disabled},
         {"eventFlags", eventHex(view.status)},
         {"source", (int)source},
         {"sourceName", vehSourceName(source)}};
}

void printJson(const GnssView& view) { printJson(Json(view)); }
void printJson(const GnssPushed& view) { printJson(Json(view)); }
void printJson(const TraceView& view) { printJson(Json(view)); }
void printJson(const VehStatusAt& view) { printJson(Json(view)); }
void printJson(const VehDisabledView& view) { printJson(Json(view)); }
