#include "LocalMapTestUtil.h"

#include <sstream>

#include "space/SpaceToolGeo.h"

namespace {
constexpr double ORIGIN_LON = 120.0;
constexpr double ORIGIN_LAT = 30.0;

LMSpeedLimitBase limit(uint8_t type, float speed)
{
    LMSpeedLimitBase s;
    s.type = type;
    s.speed = speed;
    return s;
}
}  // namespace

std::vector<char> hexBytes(const std::string& text)
{
    std::vector<char> bytes;
    std::istringstream in(text);
    std::string word;
    while (in >> word) {
        bytes.push_back((char)std::stoul(word, nullptr, 16));
    }
    return bytes;
}

GeoCoordinates geoAt(double east, double north)
{
    GeoCoordinates g;
    g.longitude = ORIGIN_LON + SpaceToolGeo::LongitudeForMeter(ORIGIN_LAT, east);
    g.latitude = ORIGIN_LAT + SpaceToolGeo::LatitudeForMeter(north);
    return g;
}

LMMovementBase movement(int64_t remote, uint8_t phase)
{
    LMMovementBase m;
    m.remoteNodeId = remote;
    m.phaseId = phase;
    return m;
}

LMPointBase pointAt(double east, double north)
{
    LMPointBase p;
    static_cast<GeoCoordinates&>(p) = geoAt(east, north);
    return p;
}

LMNodeExtend sampleNode(int64_t nodeId)
{
    LMNodeExtend node;
    node.nodeId = nodeId;
    static_cast<GeoCoordinates&>(node) = geoAt(0, 0);
    node.altitude = 12.5;
    node.latHemisphere = 'S';
    memcpy(node.name, "Harbour Rd / 3rd Av", 19);

    LMLinkExtend west;
    west.upstreamNodeId = nodeId + 1000;
    memset(west.name, 'w', LMLinkBase::NAME_LEN);  // a full name, no terminator
    west.attrFloat1 = 1.25f;
    west.laneNum = 2;
    west.attrFloat2 = -3.5f;
    for (uint8_t id : {2, 1}) {
        LMLaneExtend lane;
        lane.laneID = id;
        lane.laneBitsA[0] = 0x12;
        lane.laneBitsA[1] = 0x34;
        lane.laneTypeCode = (uint8_t)(id + 7);
        lane.laneBitsC[1] = 0xff;
        lane.points = {pointAt(-60, id * 3.5), pointAt(-5, id * 3.5)};
        lane.movements[nodeId + 2000] = movement(nodeId + 2000, id);
        west.lanes[id] = lane;
    }
    west.speedLimits = {limit(5, 13.9f), limit(4, 2.0f), limit(5, 8.3f)};
    west.points = {pointAt(-80, 0), pointAt(-40, 0), pointAt(-5, 0)};
    west.movements[nodeId + 2000] = movement(nodeId + 2000, 3);
    west.movements[nodeId + 3000] = movement(nodeId + 3000, 4);
    node.links[west.upstreamNodeId] = west;

    LMLinkExtend south;
    south.upstreamNodeId = nodeId + 2000;
    south.laneNum = 1;
    south.points = {pointAt(0, -70), pointAt(0, -6)};
    node.links[south.upstreamNodeId] = south;
    return node;
}
