#ifndef V2XSHM_JSON_LISTVIEWJSON_H
#define V2XSHM_JSON_LISTVIEWJSON_H

#include <cstdint>
#include <map>
#include <vector>

#include "JsonFwd.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMRSIExtend.h"
#include "localmap/LMRSIRes.h"
#include "localmap/LMTLPhaseRes.h"
#include "localmap/LMTrafficLightExtend.h"

// Whole local-map lists as one JSON document each, the form `show ... --json`
// prints and the live page serves (field names in docs/json.md).

// {"count", "nodes": [node...]}, in node id order.
Json nodeListJson(const std::map<int64_t, LMNodeExtend>& nodes);
// {"count", "lights": [light with each phase's state now...]}, seen at `now`.
Json lightListJson(const std::map<int64_t, LMTrafficLightExtend>& lights, double now);
// {"count", "records": [record...]}.
Json rsiListJson(const std::vector<LMRSIExtend>& records);
// {"count", "phases": [result...]}.
Json phaseResultListJson(const std::vector<LMTLPhaseRes>& results);
// {"count", "results": [result...]}.
Json rsiResultListJson(const std::vector<LMRSIRes>& results);

#endif
