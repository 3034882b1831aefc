#include "LocalMapJson.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

Json millis(double seconds)
{
    return jsonNumber(std::round(seconds * 1000.0) / 1000.0);
}

void addAge(Json& j, const IF_Refreshable& rec)
{
    if (rec.getLatestRefreshTime() == 0.0 || !std::isfinite(rec.getLatestRefreshTime())) {
        j["refreshTime"] = rec.getLatestRefreshTime() == 0.0 ? Json(0) : Json(nullptr);  // null: a damaged stamp
        j["ageSeconds"] = nullptr;
        return;
    }
    j["refreshTime"] = millis(rec.getLatestRefreshTime());
    j["ageSeconds"] = millis(rec.getPreciseTimeDiff());
}

Json finiteOrNull(double value)
{
    return std::isfinite(value) ? jsonNumber(value) : Json(nullptr);
}

int64_t int64Of(const uint8_t* bytes)
{
    int64_t value = 0;
    memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace

void to_json(Json& j, const GeoCoordinates& g)
{
    j = Json::object();
    j["lon"] = finiteOrNull(g.longitude);
    j["lat"] = finiteOrNull(g.latitude);
    j["alt"] = finiteOrNull(g.altitude);
    j["latHemisphere"] = std::string(1, g.latHemisphere);
    j["lonHemisphere"] = std::string(1, g.lonHemisphere);
}

void to_json(Json& j, const LMPointBase& p)
{
    to_json(j, static_cast<const GeoCoordinates&>(p));
    j["dis2End"] = finiteOrNull(p.dis2End);
}

void to_json(Json& j, const LMMovementBase& m)
{
    j = Json{{"remoteNodeId", (int64_t)m.remoteNodeId}, {"phaseId", m.phaseId}};
}

void to_json(Json& j, const LMSpeedLimitBase& s)
{
    j = Json{{"type", s.type}, {"speed", jsonFloat(s.speed)}};
}

void to_json(Json& j, const LMLaneExtend& lane)
{
    j = Json::object();
    j["laneID"] = lane.laneID;
    j["laneBitsA"] = hexText(lane.laneBitsA, 2);
    j["laneBitsB"] = hexText(lane.laneBitsB, 2);
    j["laneTypeCode"] = lane.laneTypeCode;
    j["laneBitsC"] = hexText(lane.laneBitsC, 2);
    j["points"] = lane.points;
    j["movements"] = jsonValues(lane.movements);
}

void to_json(Json& j, const LMLinkExtend& link)
{
    j = Json::object();
    j["upstreamNodeId"] = (int64_t)link.upstreamNodeId;
    j["name"] = fieldText(link.name, LMLinkBase::NAME_LEN);
    j["laneNum"] = link.laneNum;
    j["attrFloat1"] = jsonFloat(link.attrFloat1);
    j["attrFloat2"] = jsonFloat(link.attrFloat2);
    j["lanes"] = jsonValues(link.lanes);
    j["speedLimits"] = link.speedLimits;
    j["points"] = link.points;
    j["movements"] = jsonValues(link.movements);
}

void to_json(Json& j, const LMNodeExtend& node)
{
    j = Json::object();
    j["nodeId"] = (int64_t)node.nodeId;
    j["name"] = fieldText(node.name, LMNodeBase::NAME_LEN);
    j.update(Json(static_cast<const GeoCoordinates&>(node)));
    addAge(j, node);
    j["links"] = jsonValues(node.links);
}

void to_json(Json& j, const LMPhaseStateBase& s)
{
    j = Json::object();
    j["light"] = s.light;
    j["startTime"] = jsonFloat(s.startTime);
    j["minEndTime"] = jsonFloat(s.minEndTime);
    j["maxEndTime"] = jsonFloat(s.maxEndTime);
    j["likelyEndTime"] = jsonFloat(s.likelyEndTime);
    j["timeConfidence"] = s.timeConfidence;
    j["nextStartTime"] = jsonFloat(s.nextStartTime);
    j["nextDuration"] = jsonFloat(s.nextDuration);
}

void to_json(Json& j, const LMPhaseExtend& phase)
{
    j = Json{{"phaseID", phase.phaseID}, {"phaseAttr", phase.phaseAttr}, {"states", jsonValues(phase.phaseStates)}};
}

void to_json(Json& j, const LMTrafficLightExtend& light)
{
    j = Json::object();
    j["id"] = (int64_t)light.id;
    j["status"] = Json::array({light.status[0], light.status[1]});
    j["timeStamp"] = (int)light.timeStamp;
    j["timeConfidence"] = light.timeConfidence;
    addAge(j, light);
    j["phases"] = jsonValues(light.phases);
}

void to_json(Json& j, const LMRSIExtend& rec)
{
    j = Json::object();
    j["sourceID"] = fieldText(rec.sourceID, LMRSIBase::SOURCE_LEN);
    j["infoID"] = (int)rec.infoID;
    j["position"] = static_cast<const GeoCoordinates&>(rec.position);
    j["attrInt"] = (int32_t)rec.attrInt;
    j["attrShort"] = (int)rec.attrShort;
    j["attrByte"] = rec.attrByte;
    j["attrFloat"] = jsonFloat(rec.attrFloat);
    j["text"] = fieldText(rec.text, LMRSIBase::TEXT_LEN);
    addAge(j, rec);
    j["points"] = rec.points;
}

void to_json(Json& j, const LMMapRes& res)
{
    j = Json::object();
    j["nodeId"] = (int64_t)res.nodeId;
    j["upstreamNodeId"] = (int64_t)res.upstreamNodeId;
    j["dis2StopLine"] = finiteOrNull(res.dis2StopLine);
    j["maxSpeed"] = jsonFloat(res.maxSpeed);
    j["minSpeed"] = jsonFloat(res.minSpeed);
    addAge(j, res);
}

void to_json(Json& j, const LMTLPhaseRes& res)
{
    j = Json::object();
    j["nodeId"] = int64Of(res.valueBytes1);
    j["remoteNodeId"] = int64Of(res.valueBytes2);
    j["phaseId"] = res.valueByte1;
    j["light"] = res.valueByte2;
    j["remainingTenths"] = (int32_t)res.valueInt;
    addAge(j, res);
}

void to_json(Json& j, const LMRSIRes& res)
{
    j = Json::object();
    j["listIndex"] = res.valueByte1;
    j["metres"] = res.valueByte2;
    j["text"] = fieldText(res.text, LMRSIRes::TEXT_LEN);
    addAge(j, res);
}
