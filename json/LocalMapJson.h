#ifndef V2XSHM_JSON_LOCALMAPJSON_H
#define V2XSHM_JSON_LOCALMAPJSON_H

#include "JsonText.h"
#include "localmap/LMMapRes.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMRSIExtend.h"
#include "localmap/LMRSIRes.h"
#include "localmap/LMTLPhaseRes.h"
#include "localmap/LMTrafficLightExtend.h"

// JSON views of the local-map records, the light and RSI records and the
// results published for the vehicle (field names and units in docs/json.md).
// Records with a refresh stamp carry "refreshTime" and "ageSeconds" (age
// when the view is made; null for a record never stamped).

void to_json(Json& j, const GeoCoordinates& g);
void to_json(Json& j, const LMPointBase& p);
void to_json(Json& j, const LMMovementBase& m);
void to_json(Json& j, const LMSpeedLimitBase& s);
void to_json(Json& j, const LMLaneExtend& lane);
void to_json(Json& j, const LMLinkExtend& link);
void to_json(Json& j, const LMNodeExtend& node);
void to_json(Json& j, const LMPhaseStateBase& s);
void to_json(Json& j, const LMPhaseExtend& phase);
void to_json(Json& j, const LMTrafficLightExtend& light);
void to_json(Json& j, const LMRSIExtend& rec);
void to_json(Json& j, const LMMapRes& res);
void to_json(Json& j, const LMTLPhaseRes& res);
void to_json(Json& j, const LMRSIRes& res);

// The values of a keyed map (nodes, links, lanes, ...) as an array, in key order.
template <typename Map>
Json jsonValues(const Map& map)
{
    Json out = Json::array();
    for (const auto& e : map) {
        out.push_back(e.second);
    }
    return out;
}

#endif
