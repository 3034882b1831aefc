#include "localmap/LMNodeListMng.h"

#include <cmath>
#include <cstring>
#include <exception>
#include <vector>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"
#include "space/SpaceTool.h"
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

// Bounds of the exact skip of the location search (see cannotBeNearer).
constexpr double SKIP_MARGIN = 1e-9;      // relative, and in metres
constexpr double SKIP_MIN_SPAN = 1e-4;    // shortest segment skipped, relative to its reach
constexpr double SKIP_MAX_REACH = 1e15;   // metres; beyond, the arithmetic is not trusted

// East and north metres of a point from the vehicle.
struct PlaneOffset {
    double x;
    double y;
};

// SpaceToolGeo::VectorInPlaneCoordinates with the vehicle as origin and the
// cosine of its latitude given: the same expressions in the same order.
PlaneOffset offsetOf(const GeoCoordinates& point, const GeoCoordinates& vehicle, double cosVehicle)
{
    return PlaneOffset{(point.longitude - vehicle.longitude) * cosVehicle * SpaceToolGeo::METERS_PER_DEGREE,
                       (point.latitude - vehicle.latitude) * SpaceToolGeo::METERS_PER_DEGREE};
}

// Distance from 0 to the interval between a and b along one axis.
double axisGap(double a, double b)
{
    if (a > 0.0 && b > 0.0) {
        return a < b ? a : b;
    }
    if (a < 0.0 && b < 0.0) {
        return a > b ? -a : -b;
    }
    return 0.0;
}

// True when SpaceTool::DistancePoint2LineSegment(0, 0, a, b) cannot come out
// below best. No point of the segment is nearer than its bounding box; the
// computed distance may fall short of the exact one by a few units in the
// last place of the distance and of the ends' offsets, and by about
// reach^2 / span of them through the line's coefficients. Requiring the box
// to lie beyond best by SKIP_MARGIN of best and of reach, for segments not
// much shorter than their reach and of sane size, leaves that far behind.
// NaN or infinite offsets never skip.
bool cannotBeNearer(PlaneOffset a, PlaneOffset b, double best)
{
    double reach = fabs(a.x) + fabs(a.y) + fabs(b.x) + fabs(b.y);
    double spanX = fabs(b.x - a.x);
    double spanY = fabs(b.y - a.y);
    double span = spanX > spanY ? spanX : spanY;
    if (!(reach <= SKIP_MAX_REACH) || !(span >= SKIP_MIN_SPAN * reach)) {
        return false;
    }
    double gapX = axisGap(a.x, b.x);
    double gapY = axisGap(a.y, b.y);
    double limit = best + SKIP_MARGIN * (best + reach) + SKIP_MARGIN;
    return gapX * gapX + gapY * gapY >= limit * limit;
}

// A pre-test of the heading test that settles most segments without their
// exact direction (a cosine, a square root and an arc cosine). It compares
// the heading with the segment's vector between the plane offsets, taken
// with the cosine of the vehicle's latitude where the exact direction takes
// that of the segment's first point. Within maxNorth of the vehicle's
// latitude the two scalings differ by at most 0.4 %, which turns the vector
// by at most 0.004 rad; segments of at least a millimetre at sane distances
// add no more than 1e-4 rad of rounding. The test answers only outside
// HEADING_SLACK (0.01 rad) of the 30-degree bound, and only for headings in
// [0, 2 pi), where the exact test is the angle between the two directions.
constexpr double HEADING_SLACK = 0.01;
constexpr double SETTLE_MAX_TURN = 0.004;  // relative change of the scaling allowed
constexpr double SETTLE_MIN_SPAN = 1e-3;   // metres
constexpr double SETTLE_MAX_REACH = 1e7;   // metres

struct HeadingPreTest {
    bool usable = false;
    double c = 0.0;         // cos(heading)
    double s = 0.0;         // sin(heading)
    double failBelow = 0.0;  // cos(30 degrees + slack): fails when the angle's cosine is below
    double passAbove = 0.0;  // cos(30 degrees - slack): passes when above
    double maxNorth = 0.0;   // metres of latitude from the vehicle where the test holds
};

HeadingPreTest headingPreTest(double heading, double cosVehicle)
{
    HeadingPreTest t;
    t.usable = heading >= 0.0 && heading < TWO_PI && cosVehicle > 0.0;
    t.c = cos(heading);
    t.s = sin(heading);
    t.failBelow = cos(HEADING_TOLERANCE + HEADING_SLACK);
    t.passAbove = cos(HEADING_TOLERANCE - HEADING_SLACK);
    // |cos(lat1) - cos(lat2)| <= |lat1 - lat2| in radians.
    t.maxNorth = SETTLE_MAX_TURN * cosVehicle * SpaceToolGeo::METERS_PER_DEGREE * 180.0 / PI;
    return t;
}

// -1 when the segment from a to b surely fails the heading test, 1 when it
// surely passes, 0 when only the exact test can tell. NaN offsets give 0.
int settleHeading(const HeadingPreTest& t, PlaneOffset a, PlaneOffset b)
{
    double vx = b.x - a.x;
    double vy = b.y - a.y;
    double span = fabs(vx) > fabs(vy) ? fabs(vx) : fabs(vy);
    double reach = fabs(a.x) + fabs(a.y) + fabs(b.x) + fabs(b.y);
    if (!t.usable || !(fabs(a.y) <= t.maxNorth) || !(span >= SETTLE_MIN_SPAN) || !(reach <= SETTLE_MAX_REACH)) {
        return 0;
    }
    double dot = vx * t.c + vy * t.s;
    double len2 = vx * vx + vy * vy;
    if (dot < 0.0 || dot * dot < t.failBelow * t.failBelow * len2) {
        return -1;
    }
    if (dot * dot > t.passAbove * t.passAbove * len2) {
        return 1;
    }
    return 0;
}

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
    double bestDistance = NO_DISTANCE;
    // The best segment so far; the result is filled from it at the end.
    int64_t bestNode = 0;
    const std::pair<const int64_t, LMLinkExtend>* bestLink = nullptr;
    const LMPointBase* bestEnd = nullptr;
    // Every segment distance projects the segment's ends into the plane
    // centred on the vehicle, all with the cosine of the vehicle's latitude:
    // take it once, and each point's offsets once, by the projection's own
    // expressions, so that the distances come out bit for bit the same.
    const double cosVehicle = cos(position.latitude * PI / 180.0);
    const HeadingPreTest preTest = headingPreTest(heading, cosVehicle);
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            const std::vector<LMPointBase>& points = link.second.points;
            if (points.size() < 2) {
                continue;
            }
            PlaneOffset curAt = offsetOf(points[0], position, cosVehicle);
            for (size_t i = 1; i < points.size(); ++i) {
                PlaneOffset prevAt = curAt;
                curAt = offsetOf(points[i], position, cosVehicle);
                // A segment wins when it heads the vehicle's way and lies
                // nearer than the best so far. Most segments of a map lie too
                // far away or head elsewhere: skip them before any exact
                // geometry, then test the distance (cheaper than the exact
                // direction) first.
                if (cannotBeNearer(prevAt, curAt, bestDistance)) {
                    continue;
                }
                int settled = settleHeading(preTest, prevAt, curAt);
                if (settled < 0) {
                    continue;
                }
                // SpaceToolGeo::DistancePoint2LineSegment(position, prev, cur).
                double d = SpaceTool::DistancePoint2LineSegment(0.0, 0.0, prevAt.x, prevAt.y, curAt.x, curAt.y);
                if (!(d < bestDistance)) {
                    continue;
                }
                if (settled == 0) {
                    double direction = SpaceToolGeo::AngleOfVector(points[i - 1], points[i]);
                    // Not normalised on purpose: any difference above 2*pi - 30
                    // degrees also passes the wrap-around test.
                    double diff = fabs(heading - direction);
                    if (!(diff < HEADING_TOLERANCE || TWO_PI - diff < HEADING_TOLERANCE)) {
                        continue;
                    }
                }
                bestNode = node.first;
                bestLink = &link;
                bestEnd = &points[i];
                bestDistance = d;
            }
        }
    }
    LMMapRes found;
    int bestLaneNum = 0;
    if (bestLink != nullptr) {
        found.upstreamNodeId = bestLink->first;
        found.nodeId = bestNode;
        found.dis2StopLine = SpaceToolGeo::DistancePoint2Point(position, *bestEnd) + bestEnd->dis2End;
        found.maxSpeed = bestLink->second.getVehSpeedLimByType(SPEED_TYPE_MAX, DEFAULT_MAX_SPEED);
        found.minSpeed = bestLink->second.getVehSpeedLimByType(SPEED_TYPE_MIN, DEFAULT_MIN_SPEED);
        bestLaneNum = bestLink->second.laneNum;
    }
    found.refreshTime();
    if (bestLaneNum * LANE_WIDTH + REACH_MARGIN > bestDistance) {
        *out = found;
        return 1;
    }
    return -2;
}
