#ifndef V2XSHM_JSON_PTCJSON_H
#define V2XSHM_JSON_PTCJSON_H

#include <cstdint>
#include <string>
#include <vector>

#include "JsonFwd.h"
#include "ptc/OBU.h"
#include "ptc/PTC.h"
#include "ptc/RSU.h"
#include "ptc/TargetBase.h"
#include "ptc/TgtCollision.h"

// JSON views of the participants (PTC, OBU, RSU), the targets and the
// collisions, and of what the participant commands report. Field names and
// units are listed in docs/json.md.

// The part every participant and target carries: {"localID", "id",
// "longitude", "latitude", "speed", "heading", "refreshTime"}.
void to_json(Json& j, const IF_PTCBase& p);
// {"ptcID", "source", "sourceID", "ptcType"} followed by the common part.
void to_json(Json& j, const PTC& p);
// {"tgtType", "distance", "angle"} followed by the common part.
void to_json(Json& j, const TargetBase& t);
// {"tgtType", "distance", "angle", "collision"} followed by the common part.
void to_json(Json& j, const TgtCollision& c);

// One list seen at `now`: {"list", "count", "records": [record...]}, each
// record with its "age" in seconds last.
template <typename Rec>
struct RecordListView {
    const char* list;
    const std::vector<Rec>& records;
    double now;
};
Json recordListJson(const RecordListView<PTC>& view);
Json recordListJson(const RecordListView<OBU>& view);
Json recordListJson(const RecordListView<RSU>& view);
Json recordListJson(const RecordListView<TargetBase>& view);
Json recordListJson(const RecordListView<TgtCollision>& view);
void printJson(const RecordListView<PTC>& view);
void printJson(const RecordListView<OBU>& view);
void printJson(const RecordListView<RSU>& view);
void printJson(const RecordListView<TargetBase>& view);
void printJson(const RecordListView<TgtCollision>& view);

// One record pushed into a list: {"list", "result": "inserted" or
// "refreshed", "localID"}.
struct PushResult {
    const char* list;
    bool inserted;
    uint16_t localID;
};
void printJson(const PushResult& result);

// The participant lists aged: {LIST: {"before", "after"}..., "maxAgeSeconds"}.
struct AgedList {
    std::string list;
    int before;
    int after;
};
struct AgeingView {
    const std::vector<AgedList>& lists;
    double maxAgeSeconds;
};
void printJson(const AgeingView& view);

// A device-wide identifier drawn: {"givenID"}.
struct GivenId {
    unsigned short id;
};
void printJson(const GivenId& given);

#endif
