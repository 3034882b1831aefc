#ifndef V2XSHM_JSON_SHMJSON_H
#define V2XSHM_JSON_SHMJSON_H

#include <cstdint>
#include <map>
#include <string>

#include "JsonFwd.h"
#include "shm/ConfigInfo.h"
#include "shm/ProcInfo.h"

// JSON views of the process services' records: configuration entries, the
// process list and log datagrams. Field names are listed in docs/json.md.

// "u8", "i32", "i64", "text", or "invalid" for a stored type the store does
// not know. Eight-byte values are named i64: the store cannot tell an f64.
const char* configTypeName(int32_t dataType);

// One entry as stored: {"key", "type", "value"}, with "f64" beside an
// eight-byte value whose bits form a normal double.
void to_json(Json& j, const ConfigInfo& entry);
void printJson(const ConfigInfo& entry);

// One entry with its eight bytes read as a double: "type" "f64", "value" the
// double (null when not finite).
struct ConfigAsF64 {
    const ConfigInfo& entry;
};
void to_json(Json& j, const ConfigAsF64& view);
void printJson(const ConfigAsF64& view);

// The configuration list: {"count", "entries": [entry...]} in key order.
struct ConfigListView {
    const std::map<std::string, ConfigInfo>& configs;
};
void to_json(Json& j, const ConfigListView& view);
void printJson(const ConfigListView& view);

// A process entry: {"name", "tag", "refreshTime"} (wall-clock seconds).
void to_json(Json& j, const ProcInfo& proc);

// The process list seen at `now`: {"staleSeconds", "procs": [entry...]},
// each entry with its "age" in seconds and "stale" when older than
// staleSeconds.
struct ProcListView {
    const std::map<std::string, ProcInfo>& procs;
    double now;
    double staleSeconds;
};
void to_json(Json& j, const ProcListView& view);
void printJson(const ProcListView& view);

// One log datagram as received: {"time" (wall-clock seconds of arrival),
// "from" ("address:port"), "text"}.
struct LogDatagram {
    double time;
    std::string from;
    std::string text;
};
void to_json(Json& j, const LogDatagram& datagram);
void printJson(const LogDatagram& datagram);

#endif
