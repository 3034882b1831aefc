#include "LocalMapTestUtil.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "space/SpaceToolGeo.h"

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

std::vector<std::vector<char>> imagesOf(const std::map<int64_t, LMNodeExtend>& nodes)
{
    std::vector<std::vector<char>> images;
    for (const auto& entry : nodes) {
        images.push_back(imageOf(entry.first));
        images.push_back(flatOf(entry.second));
    }
    return images;
}

FencedBytes::FencedBytes(const std::vector<char>& bytes, size_t n)
{
    const size_t page = (size_t)sysconf(_SC_PAGESIZE);
    length = (n + page - 1) / page * page + page;
    void* mapped = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED || mprotect((char*)mapped + length - page, page, PROT_NONE) != 0) {
        abort();
    }
    base = (char*)mapped;
    start = base + length - page - n;
    memcpy(start, bytes.data(), n);
}

FencedBytes::~FencedBytes() { munmap(base, length); }

LMPointBase pointAt(double east, double north, double lat0, double lon0)
{
    LMPointBase p;
    p.longitude = lon0 + SpaceToolGeo::LongitudeForMeter(lat0, east);
    p.latitude = lat0 + SpaceToolGeo::LatitudeForMeter(north);
    return p;
}

LMMovementBase movement(int64_t remote, uint8_t phase)
{
    LMMovementBase m;
    m.remoteNodeId = remote;
    m.phaseId = phase;
    return m;
}

LMSpeedLimitBase limit(uint8_t type, float speed)
{
    LMSpeedLimitBase s;
    s.type = type;
    s.speed = speed;
    return s;
}

LMNodeExtend sampleNode(int64_t nodeId)
{
    LMNodeExtend node;
    node.nodeId = nodeId;
    static_cast<GeoCoordinates&>(node) = pointAt(0, 0);
    node.altitude = 12.5;
    node.latHemisphere = 'S';
    memcpy(node.name, "Harbour Rd / 3rd Av", 19);
    LMLinkExtend& west = node.links[nodeId + 1000];
    west.upstreamNodeId = nodeId + 1000;
    memset(west.name, 'w', LMLinkBase::NAME_LEN);  // no terminator
    west.attrFloat1 = 1.25f;
    west.laneNum = 2;
    west.attrFloat2 = -3.5f;
    for (uint8_t id : {1, 2}) {
        LMLaneExtend& lane = west.lanes[id];
        lane.laneID = id;
        lane.laneBitsA[1] = 0x34;
        lane.laneTypeCode = (uint8_t)(id + 7);
        lane.points = {pointAt(-60, id * 3.5), pointAt(-5, id * 3.5)};
        lane.movements[nodeId + 2000] = movement(nodeId + 2000, id);
    }
    west.speedLimits = {limit(5, 13.9f), limit(4, 2.0f), limit(5, 8.3f)};
    west.points = {pointAt(-80, 0), pointAt(-40, 0), pointAt(-5, 0)};
    west.movements = {{nodeId + 2000, movement(nodeId + 2000, 3)}, {nodeId + 3000, movement(nodeId + 3000, 4)}};
    LMLinkExtend& south = node.links[nodeId + 2000];
    south.upstreamNodeId = nodeId + 2000;
    south.laneNum = 1;
    south.points = {pointAt(0, -70), pointAt(0, -6)};
    return node;
}
