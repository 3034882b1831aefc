#ifndef V2XSHM_JSON_SPACEJSON_H
#define V2XSHM_JSON_SPACEJSON_H

#include <cstdint>

#include "JsonFwd.h"
#include "space/GNSS.h"
#include "space/VehTrace.h"
#include "status/VehStatus.h"

// JSON views of the own vehicle's records: the GNSS fix, the vehicle trace
// and the vehicle status. Field names and units are listed in docs/json.md.

// A fix: {"refreshTime", "second", "millisecond", "longitude", "latitude",
// "lonHemisphere", "latHemisphere", "altitude", "speed", "heading",
// "precision", "motion": {"time", "heading", "speed", "speedEast",
// "speedNorth"}}.
void to_json(Json& j, const GNSS& fix);

// A fix seen at `now` (wall-clock seconds): "age" follows "refreshTime".
struct FixAt {
    const GNSS& fix;
    double now;
};
void to_json(Json& j, const FixAt& view);

// `show gnss`: {"stored", "fix", "predicted": {"longitude", "latitude"} or
// null when no fix was ever stored}.
struct GnssView {
    const GNSS& fix;
    double now;
    bool stored;                  // a fix was ever stored
    GeoCoordinates predicted;     // the fix moved on to now, when stored
};
void to_json(Json& j, const GnssView& view);
void printJson(const GnssView& view);

// `gnss push`: {"fix", "trace": {"index", "count"}} after the fix went into
// the trace.
struct GnssPushed {
    const GNSS& fix;
    int32_t traceIndex;
    int32_t traceCount;
};
void to_json(Json& j, const GnssPushed& view);
void printJson(const GnssPushed& view);

// The trace, newest first: {"index", "count" (both as stored), "damaged"
// (either out of range), "shown", "fixes": [{"slot", "fix"}...]}.
struct TraceView {
    const VehTrace& trace;
    int shown;   // fixes to list, at most the bounded count
    double now;
};
void to_json(Json& j, const TraceView& view);
void printJson(const TraceView& view);

// What an item's source marker means: "not set", "vehicle bus", "set by
// hand" or "unknown".
const char* vehSourceName(uint8_t marker);

// The vehicle status seen at `now`: {"refreshTime", "age" (null when never
// refreshed), "items": {NAME: {"value", "source", "sourceName"}...}}.
struct VehStatusAt {
    const VehStatus& status;
    double now;
};
void to_json(Json& j, const VehStatusAt& view);
void printJson(const VehStatusAt& view);

// `vehicle disabled`: {"disabled", "eventFlags" (4 hex digits), "source",
// "sourceName"}.
struct VehDisabledView {
    bool disabled;
    const VehStatus& status;
};
void to_json(Json& j, const VehDisabledView& view);
void printJson(const VehDisabledView& view);

#endif
