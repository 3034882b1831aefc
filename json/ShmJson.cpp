#include "ShmJson.h"

#include <cmath>
#include <cstring>

#include "JsonText.h"

const char* configTypeName(int32_t dataType)
{
    switch (dataType) {
    case ConfigInfo::ONE_BYTE: return "u8";
    case ConfigInfo::FOUR_BYTES: return "i32";
    case ConfigInfo::EIGHT_BYTES: return "i64";
    case ConfigInfo::TEXT: return "text";
    default: return "invalid";
    }
}

void to_json(Json& j, const ConfigInfo& entry)
{
    int32_t type = entry.dataType;
    j = {{"key", fieldText(entry.key, ConfigInfo::KEY_LEN)}, {"type", configTypeName(type)}};
    char out[ConfigInfo::VALUE_LEN] = {};
    if (entry.getValue(out) != 1) {
        j["value"] = nullptr;
    } else if (type == ConfigInfo::ONE_BYTE) {
        j["value"] = (unsigned)(uint8_t)out[0];
    } else if (type == ConfigInfo::FOUR_BYTES) {
        int32_t v;
        memcpy(&v, out, sizeof v);
        j["value"] = v;
    } else if (type == ConfigInfo::EIGHT_BYTES) {
        int64_t v;
        double d;
        memcpy(&v, out, sizeof v);
        memcpy(&d, out, sizeof d);
        j["value"] = v;
        if (std::isnormal(d)) {
            j["f64"] = jsonNumber(d);
        }
    } else {
        j["value"] = std::string(out);
    }
}

void to_json(Json& j, const ConfigAsF64& view)
{
    char out[ConfigInfo::VALUE_LEN] = {};
    double d = NAN;
    if (view.entry.getValue(out) == 1) {
        memcpy(&d, out, sizeof d);
    }
    j = {{"key", fieldText(view.entry.key, ConfigInfo::KEY_LEN)}, {"type", "f64"},
         {"value", std::isfinite(d) ? jsonNumber(d) : Json()}};
}

void to_json(Json& j, const ConfigListView& view)
{
    Json entries = Json::array();
    for (const auto& kv : view.configs) {
        entries.push_back(kv.second);
    }
    j = {{"count", view.configs.size()}, {"entries", entries}};
}

void to_json(Json& j, const ProcInfo& proc)
{
    j = {{"name", fieldText(proc.procName, ProcInfo::TEXT_LEN)},
         {"tag", fieldText(proc.procTag, ProcInfo::TEXT_LEN)},
         {"refreshTime", jsonNumber(proc.latestRefreshTime)}};
}

void to_json(Json& j, const ProcListView& view)
{
    Json procs = Json::array();
    for (const auto& kv : view.procs) {
        const ProcInfo& p = kv.second;
        Json entry = p;
        entry["age"] = jsonNumber(view.now - p.latestRefreshTime);
        entry["stale"] = p.isPreciseOverTime(view.staleSeconds);
        procs.push_back(entry);
    }
    j = {{"staleSeconds", jsonNumber(view.staleSeconds)}, {"procs", procs}};
}

void to_json(Json& j, const LogDatagram& datagram)
{
    j = {{"time", jsonNumber(datagram.time)}, {"from", datagram.from}, {"text", datagram.text}};
}

void printJson(const ConfigInfo& entry) { printJson(Json(entry)); }
void printJson(const ConfigAsF64& view) { printJson(Json(view)); }
void printJson(const ConfigListView& view) { printJson(Json(view)); }
void printJson(const ProcListView& view) { printJson(Json(view)); }
void printJson(const LogDatagram& datagram) { printJson(Json(datagram)); }
