// The node list's location search, which skips segments too far away to win
// and projects with the vehicle's cosine taken once, against the plain search
// written here from the documented algorithm, on random maps (fixed seed).
// Results must be the same bit for bit, failures included.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "LocalMapTestUtil.h"
#include "localmap/LMNodeListMng.h"
#include "space/SpaceToolGeo.h"

namespace {

using NodeMap = std::map<int64_t, LMNodeExtend>;
constexpr double PI = 3.141592653589793;
constexpr double TOLERANCE = 0.5235987755982988;  // 30 degrees

struct Rng {
    std::mt19937 gen;
    double real(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(gen); }
    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(gen); }
    bool chance(double p) { return real(0.0, 1.0) < p; }
};

// ---- location search ----

// The search as documented: each segment's direction, then its distance.
int referenceLocation(const NodeMap& nodes, GeoCoordinates position, double heading, LMMapRes* out)
{
    LMMapRes found;
    double best = 9999.0;
    int bestLanes = 0;
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            const std::vector<LMPointBase>& pts = link.second.points;
            for (size_t i = 1; i < pts.size(); ++i) {
                double diff = fabs(heading - SpaceToolGeo::AngleOfVector(pts[i - 1], pts[i]));
                if (!(diff < TOLERANCE || 6.283185307179586 - diff < TOLERANCE)) {
                    continue;
                }
                double d = SpaceToolGeo::DistancePoint2LineSegment(position, pts[i - 1], pts[i]);
                if (d < best) {
                    found.upstreamNodeId = link.first;
                    found.nodeId = node.first;
                    found.dis2StopLine = SpaceToolGeo::DistancePoint2Point(position, pts[i]) + pts[i].dis2End;
                    found.maxSpeed = link.second.getVehSpeedLimByType(5, 16.67f);
                    found.minSpeed = link.second.getVehSpeedLimByType(4, 0.0f);
                    bestLanes = link.second.laneNum;
                    best = d;
                }
            }
        }
    }
    found.refreshTime();
    if (bestLanes * 3.5 + 5.0 > best) {
        *out = found;
        return 1;
    }
    return -2;
}

// Links over a few nodes, some exact twins of earlier ones (ties), shaped as
// random walks of long or tiny (often repeated) steps, or circles whose chords
// lie nearly equally far from the centre. A fan instead holds spokes within
// 25 degrees of east, pointing away from the origin and all `scale` away to a
// few units in the last place: the nearest point of each is where its
// bounding box begins, the hardest case for the search's skip test.
NodeMap randomMap(Rng& rng, double lat0, double lon0, double scale, bool fan)
{
    NodeMap nodes;
    std::vector<LMLinkExtend> made;
    for (int k = rng.pick(1, fan ? 60 : 20); k > 0; --k) {
        LMLinkExtend link;
        int shape = rng.pick(0, 3);
        double x = rng.real(-scale, scale);
        double y = rng.real(-scale, scale);
        double dir = fan ? rng.real(-0.43, 0.43) : rng.real(0.0, 2 * PI);
        double r = fan ? scale * (1.0 + rng.pick(0, 3) * 1e-13) : rng.real(1.0, scale);
        for (int i = 0, n = fan ? 2 : rng.pick(0, 24); i < n; ++i) {
            if (fan) {
                link.points.push_back(pointAt((r + 10 * i) * cos(dir), (r + 10 * i) * sin(dir), lat0, lon0));
            } else if (shape == 0) {
                link.points.push_back(pointAt(x + r * cos(2 * PI * i / n), y + r * sin(2 * PI * i / n), lat0, lon0));
            } else {
                link.points.push_back(pointAt(x, y, lat0, lon0));
                double step = shape == 1 ? (rng.chance(0.3) ? 0.0 : rng.real(0.0, 1e-5)) : rng.real(0.5, scale / 4);
                dir += shape == 2 ? rng.real(-0.05, 0.05) : rng.real(-PI, PI);
                x += step * cos(dir);
                y += step * sin(dir);
            }
        }
        for (int s = rng.pick(0, 3); s > 0; --s) {
            link.speedLimits.push_back(limit((uint8_t)rng.pick(3, 6), (float)rng.real(0.0, 40.0)));
        }
        link.calcPointsDis2End();
        link.laneNum = (uint8_t)rng.pick(0, fan ? 255 : 4);
        if (!made.empty() && rng.chance(0.15)) {
            link = made[rng.pick(0, (int)made.size() - 1)];
        }
        link.upstreamNodeId = rng.pick(-20, 20);
        int64_t id = (int64_t)rng.pick(-5, 5) * 1000003;
        nodes[id].nodeId = id;
        nodes[id].links[link.upstreamNodeId] = link;
        made.push_back(link);
    }
    return nodes;
}

// Mostly a vehicle beside a random segment, at one of several distances, on
// one of its ends, heading along it, at or just inside the tolerance, or off
// by up to 34 degrees; else anywhere around. Now and then a NaN position.
void randomQuery(Rng& rng, const NodeMap& nodes, GeoCoordinates* pos, double* heading)
{
    std::vector<const LMPointBase*> starts;  // of segments: the next point ends them
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            for (size_t i = 1; i < link.second.points.size(); ++i) {
                starts.push_back(&link.second.points[i - 1]);
            }
        }
    }
    if (starts.empty() || rng.chance(0.1)) {
        pos->latitude += rng.real(-0.01, 0.01);
        pos->longitude += rng.real(-0.01, 0.01);
        *heading = rng.real(-1.0, 7.0);
        return;
    }
    const LMPointBase& a = *starts[rng.pick(0, (int)starts.size() - 1)];
    const LMPointBase& b = (&a)[1];
    double direction = SpaceToolGeo::AngleOfVector(a, b);
    const double offsets[] = {0.0, 1e-9, 0.01, 1.0, 4.9, 8.5, 12.0, 100.0};
    double off = offsets[rng.pick(0, 7)];
    double t = rng.real(-0.2, 1.2);
    double lat = a.latitude + t * (b.latitude - a.latitude);
    pos->longitude = a.longitude + t * (b.longitude - a.longitude)
                   + SpaceToolGeo::LongitudeForMeter(lat, off * -sin(direction));
    pos->latitude = lat + SpaceToolGeo::LatitudeForMeter(off * cos(direction));
    if (rng.chance(0.25)) {
        *pos = rng.chance(0.5) ? a : b;
    }
    double edge = rng.chance(0.5) ? TOLERANCE : -TOLERANCE;
    const double headings[] = {direction, nextafter(direction + edge, direction), direction + edge,
                               direction + rng.real(-0.6, 0.6)};
    *heading = headings[rng.pick(0, 3)];
    if (rng.chance(0.02)) {
        pos->latitude = std::numeric_limits<double>::quiet_NaN();
    }
}

TEST(LMNodeListMngReference, LocationSearchEqualsThePlainSearch)
{
    const double origins[][2] = {{30.0, 120.0}, {59.9, 10.7}, {-45.0, -170.0}, {0.001, 0.0}, {89.5, 45.0}};
    const double scales[] = {15.0, 150.0, 3000.0, 20000.0};
    const double fanRadii[] = {2.0, 50.0, 400.0, 890.0};  // the widest link reaches 897.5 m
    Rng rng{std::mt19937(20240611)};
    LMNodeListMng mng(true);
    int queries = 0, found = 0;
    for (int m = 0; m < 300; ++m) {
        const double* origin = origins[m % 5];
        bool fan = m % 4 == 3;
        double scale = fan ? fanRadii[rng.pick(0, 3)] : scales[rng.pick(0, 3)];
        mng.nodes = randomMap(rng, origin[0], origin[1], scale, fan);
        for (int q = 0; q < 25; ++q, ++queries) {
            // A fan's vehicle sits at its centre, heading east.
            GeoCoordinates pos = pointAt(rng.real(-1e-6, 1e-6), rng.real(-1e-6, 1e-6), origin[0], origin[1]);
            double heading = 0.0;
            if (!fan || rng.chance(0.2)) {
                randomQuery(rng, mng.nodes, &pos, &heading);
            }
            SCOPED_TRACE(testing::Message() << "map " << m << (fan ? " (fan)" : "") << " query " << q);
            // The same code and the same bytes, the stamp (written when found) aside.
            LMMapRes fast, ref;
            memset(static_cast<void*>(&fast), 0xA5, sizeof fast);
            memset(static_cast<void*>(&ref), 0xA5, sizeof ref);
            int code = mng.calcVehLocationInLM(pos, heading, &fast);
            ASSERT_EQ(code, referenceLocation(mng.nodes, pos, heading, &ref));
            fast.latestRefreshTime = +ref.latestRefreshTime;
            ASSERT_EQ(imageOf(fast), imageOf(ref)) << "node " << +fast.nodeId << " link " << +fast.upstreamNodeId;
            found += code == 1;
        }
    }
    // Both outcomes must be well represented for the comparison to mean much.
    EXPECT_GT(found, queries / 5);
    EXPECT_LT(found, queries * 4 / 5);
}

}  // namespace
