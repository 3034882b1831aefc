#include "localmap/LMNodeListMng.h"

#include <cmath>
#include <cstring>
#include <exception>
#include <vector>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"
#include "space/SpaceToolGeo.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;
constexpr double HEADING_TOLERANCE = PI / 6.0;  // 30 degrees
constexpr double LANE_WIDTH = 3.5;               // metres per lane
constexpr double REACH_MARGIN = 5.0;             // metres beyond the lanes
constexpr double NO_DISTANCE = 9999.0;
constexpr float DEFAULT_MAX_SPEED = 16.67f;  // 60 km/h in m/s
constexpr float DEFAULT_MIN_SPEED = 0.0f;
constexpr uint8_t SPEED_TYPE_MIN = 4;
constexpr uint8_t SPEED_TYPE_MAX = 5;

}  // namespace

LMNodeListMng::LMNodeListMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int LMNodeListMng::decodeImage(const char* image, std::map<int64_t, LMNodeExtend>* out)
{
    int32_t count = 0;
    memcpy(&count, image, sizeof count);
    int pos = (int)sizeof count;
    LMRecordTool::MapRefill<int64_t, LMNodeExtend> refill(out);
    for (int32_t i = 0; i < count && pos < SHM_SIZE; ++i) {
        // A writer that died halfway may have left a count or a node that
        // runs past the segment: never read beyond it.
        if (refill.next()->buffer2Obj(image, &pos, SHM_SIZE) < 0) {
            return -1;
        }
        refill.store();
    }
    return 1;
}

int LMNodeListMng::encodeImage(char* image, const std::map<int64_t, LMNodeExtend>& list)
{
    long long total = 4;
    for (const auto& entry : list) {
        total += entry.second.flatSize();
    }
    if (total > SHM_SIZE) {
        return -1;
    }
    memset(image, 0, SHM_SIZE);
    int32_t count = (int32_t)list.size();
    memcpy(image, &count, sizeof count);
    int pos = (int)sizeof count;
    for (const auto& entry : list) {
        if (entry.second.Obj2Buff(image, &pos) < 0) {
            return -1;
        }
    }
    return 1;
}

char* LMNodeListMng::imageBuffer()
{
    if (segmentImage.size() != (size_t)SHM_SIZE) {
        segmentImage.resize(SHM_SIZE);
    }
    return segmentImage.data();
}

int LMNodeListMng::commit()
{
    try {
        char* buf = imageBuffer();
        if (encodeImage(buf, nodes) < 0) {
            return -1;
        }
        return commit2SHM(buf, SHM_SIZE);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeListMng::update()
{
    try {
        char* buf = imageBuffer();
        if (updateFromSHM(buf, SHM_SIZE) < 0) {
            // Nothing was read: an empty list, not what an earlier read left.
            memset(buf, 0, SHM_SIZE);
        }
        return decodeImage(buf, &nodes);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeListMng::insertUpdateList(void* image, void* incoming)
{
    if (image == nullptr || incoming == nullptr) {
        return -1;
    }
    auto* received = static_cast<std::map<int64_t, LMNodeExtend>*>(incoming);
    try {
        std::map<int64_t, LMNodeExtend> list;
        if (decodeImage(static_cast<const char*>(image), &list) < 0) {
            return -1;
        }
        for (auto& entry : list) {
            auto found = received->find(entry.first);
            if (found == received->end()) {
                continue;
            }
            if (entry.second.merge(found->second) < 0) {
                return -1;
            }
            entry.second.refreshTime();
            received->erase(found);
        }
        for (auto& entry : *received) {
            entry.second.refreshTime();
            LMRecordTool::put(&list, entry.second);
        }
        return encodeImage(static_cast<char*>(image), list);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeListMng::refreshList(void* image, void*)
{
    if (image == nullptr) {
        return -1;
    }
    try {
        std::map<int64_t, LMNodeExtend> list;
        if (decodeImage(static_cast<const char*>(image), &list) < 0) {
            return -1;
        }
        std::map<int64_t, LMNodeExtend> kept;
        std::vector<int64_t> expired;
        for (const auto& entry : list) {
            if (entry.second.isPreciseOverTime(NODE_MAX_AGE)) {
                expired.push_back(entry.first);
            } else {
                kept.insert(entry);
            }
        }
        for (auto gone = expired.rbegin(); gone != expired.rend(); ++gone) {
            for (auto& entry : kept) {
                if (entry.first != *gone) {
                    entry.second.removeNodeRelatedData(*gone);
                }
            }
        }
        return encodeImage(static_cast<char*>(image), kept);
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeListMng::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        int count = 0;
        if (SerializeTool::Byte2Int(buf, &p, &count) != 4) {
            return -2;
        }
        nodes.clear();
        for (int i = 0; i < count; ++i) {
            short nodeLen = 0;
            int at = p;
            if (SerializeTool::Byte2Short(buf, &at, &nodeLen) != 2) {
                return -2;
            }
            LMNodeExtend node;
            if (node.DeSerialize(buf, &p, nodeLen) < 0) {
                return -2;
            }
            LMRecordTool::put(&nodes, node);
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeListMng::calcVehLocationInLM(GeoCoordinates position, double heading, LMMapRes* out)
{
    if (out == nullptr) {
        return -1;
    }
    LMMapRes found;
    double bestDistance = NO_DISTANCE;
    int bestLaneNum = 0;
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            const std::vector<LMPointBase>& points = link.second.points;
            for (size_t i = 1; i < points.size(); ++i) {
                const LMPointBase& prev = points[i - 1];
                const LMPointBase& cur = points[i];
                double direction = SpaceToolGeo::AngleOfVector(prev, cur);
                // Not normalised on purpose: any difference above 2*pi - 30
                // degrees also passes the wrap-around test.
                double diff = fabs(heading - direction);
                if (!(diff < HEADING_TOLERANCE || TWO_PI - diff < HEADING_TOLERANCE)) {
                    continue;
                }
                double d = SpaceToolGeo::DistancePoint2LineSegment(position, prev, cur);
                if (d < bestDistance) {
                    found.upstreamNodeId = link.first;
                    found.nodeId = node.first;
                    found.dis2StopLine = SpaceToolGeo::DistancePoint2Point(position, cur) + cur.dis2End;
                    found.maxSpeed = link.second.getVehSpeedLimByType(SPEED_TYPE_MAX, DEFAULT_MAX_SPEED);
                    found.minSpeed = link.second.getVehSpeedLimByType(SPEED_TYPE_MIN, DEFAULT_MIN_SPEED);
                    bestLaneNum = link.second.laneNum;
                    bestDistance = d;
                }
            }
        }
    }
    found.refreshTime();
    if (bestLaneNum * LANE_WIDTH + REACH_MARGIN > bestDistance) {
        *out = found;
        return 1;
    }
    return -2;
}
