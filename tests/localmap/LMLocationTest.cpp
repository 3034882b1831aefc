#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "LocalMapTestUtil.h"
#include "localmap/LMNodeListMng.h"
#include "space/SpaceToolGeo.h"

namespace {

// Node 1 holding link 10 of `lanes` lanes through `points`.
LMLinkExtend& setLink(LMNodeListMng* mng, int lanes, std::vector<LMPointBase> points)
{
    mng->nodes[1].nodeId = 1;
    LMLinkExtend& link = mng->nodes[1].links[10];
    link.upstreamNodeId = 10;
    link.laneNum = (uint8_t)lanes;
    link.points = points;
    link.calcPointsDis2End();
    return link;
}

// The search before it learned to skip segments too far away to win: each
// segment's direction and distance, the nearest that heads the right way.
int plainSearch(const std::map<int64_t, LMNodeExtend>& nodes, GeoCoordinates position, double heading, LMMapRes* out)
{
    const double tolerance = 0.5235987755982988;  // 30 degrees
    LMMapRes found;
    double best = 9999.0;
    int bestLanes = 0;
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            const std::vector<LMPointBase>& pts = link.second.points;
            for (size_t i = 1; i < pts.size(); ++i) {
                double diff = fabs(heading - SpaceToolGeo::AngleOfVector(pts[i - 1], pts[i]));
                double d = SpaceToolGeo::DistancePoint2LineSegment(position, pts[i - 1], pts[i]);
                if ((diff < tolerance || 6.283185307179586 - diff < tolerance) && d < best) {
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

}  // namespace

TEST(LMLocation, ReachAndHeadingDecideAndAMissLeavesTheCallersRecord)
{
    LMNodeListMng mng(true);
    LMMapRes res;
    EXPECT_EQ(mng.calcVehLocationInLM(pointAt(0, 0), 0.0, &res), -2);  // empty map
    // Reach: 3.5 m per lane plus 5 m. Heading: within 30 degrees, strictly,
    // wrapping around; the difference is not normalised: 540 passes too.
    struct {
        int lanes;
        double offset, heading;  // metres beside the link running east from -100 m to 0; degrees
        int result;
    } cases[] = {{1, 1.0, 0, 1},     {1, -8.4, 0, 1},   {1, 8.6, 0, -2},   {2, 11.9, 0, 1},    {2, -12.1, 0, -2},
                 {0, 4.9, 0, 1},     {0, 5.1, 0, -2},   {1, 30.0, 0, -2},  {1, 1.0, 29, 1},    {1, 1.0, 331, 1},
                 {1, 1.0, 31, -2},   {1, 1.0, 329, -2}, {1, 1.0, 359.5, 1}, {1, 1.0, 540, 1},  {1, 1.0, 180, -2},
                 {1, 1.0, std::numeric_limits<double>::quiet_NaN(), -2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.lanes << " lanes, " << c.offset << " m, " << c.heading << " deg");
        setLink(&mng, c.lanes, {pointAt(-100, 0), pointAt(0, 0)});
        memset(static_cast<void*>(&res), 0xab, sizeof res);
        const std::vector<char> before = imageOf(res);
        ASSERT_EQ(mng.calcVehLocationInLM(pointAt(-50, c.offset), c.heading * M_PI / 180, &res), c.result);
        if (c.result < 0) {
            EXPECT_EQ(imageOf(res), before);
            continue;
        }
        EXPECT_EQ(+res.nodeId, 1);
        EXPECT_EQ(+res.upstreamNodeId, 10);
        EXPECT_NEAR(res.dis2StopLine, std::hypot(50.0, c.offset), 1e-3);
        EXPECT_EQ(+res.maxSpeed, 16.67f);  // no limits: the defaults
        EXPECT_EQ(+res.minSpeed, 0.0f);
        EXPECT_EQ(imageOf(res)[32], 0);  // spare byte
        EXPECT_FALSE(res.isPreciseOverTime(1.0));
    }
    EXPECT_EQ(mng.calcVehLocationInLM(pointAt(-50, 1), 0.0, nullptr), -1);
    mng.nodes[1].links[10].points.pop_back();  // one point: no segment
    EXPECT_EQ(mng.calcVehLocationInLM(pointAt(-100, 0), 0.0, &res), -2);
}

TEST(LMLocation, DistanceToStopLineAndSpeedLimitsFollowTheLink)
{
    LMNodeListMng mng(true);
    LMMapRes res;
    setLink(&mng, 1, {pointAt(-100, 0), pointAt(-50, 0), pointAt(0, 0)}).speedLimits = {
        limit(5, 13.9f), limit(4, 2.0f), limit(5, 8.3f)};
    ASSERT_EQ(mng.calcVehLocationInLM(pointAt(-75, 1), 0.0, &res), 1);
    EXPECT_NEAR(res.dis2StopLine, std::hypot(25.0, 1.0) + 50.0, 1e-3);
    EXPECT_EQ(+res.maxSpeed, 13.9f);  // the first of its type
    EXPECT_EQ(+res.minSpeed, 2.0f);
    // Beyond the last point: the distance to that point, plus nothing.
    ASSERT_EQ(mng.calcVehLocationInLM(pointAt(5, 0), 0.0, &res), 1);
    EXPECT_NEAR(res.dis2StopLine, 5.0, 1e-6);
}

// Fans of spokes within 25 degrees of east pointing away from a vehicle at
// their centre, all one radius away to a few units in the last place: each
// spoke's nearest point is where its bounding box begins, the hardest case
// for the skip. The same code and bytes as the plain search, stamp aside.
TEST(LMLocation, SkippingFarSegmentsGivesWhatThePlainSearchGives)
{
    const double origins[][2] = {{30.0, 120.0}, {59.9, 10.7}, {-45.0, -170.0}, {0.001, 0.0}, {89.5, 45.0}};
    const double radii[] = {2.0, 50.0, 400.0, 890.0};
    std::mt19937 gen(20240611);
    auto real = [&gen](double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(gen); };
    auto pick = [&gen](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(gen); };
    LMNodeListMng mng(true);
    int found = 0;
    for (int m = 0; m < 500; ++m) {
        const double* o = origins[m % 5];
        double r = radii[pick(0, 3)];
        mng.nodes.clear();
        for (int k = pick(1, 60); k > 0; --k) {
            double dir = real(-0.43, 0.43);
            double d = r * (1.0 + pick(0, 3) * 1e-13);
            LMLinkExtend& link = mng.nodes[pick(-5, 5) * 1000003].links[pick(-20, 20)];
            link.points = {pointAt(d * cos(dir), d * sin(dir), o[0], o[1]),
                           pointAt((d + 10) * cos(dir), (d + 10) * sin(dir), o[0], o[1])};
            link.calcPointsDis2End();
            link.laneNum = (uint8_t)pick(0, 255);
            link.speedLimits = {limit((uint8_t)pick(4, 5), (float)real(0.0, 40.0))};
        }
        double east = real(-1e-6, 1e-6);
        GeoCoordinates pos = pointAt(east, real(-1e-6, 1e-6), o[0], o[1]);
        double heading = real(-0.6, 0.6);
        LMMapRes fast;
        LMMapRes plain;
        memset(static_cast<void*>(&fast), 0xA5, sizeof fast);
        memset(static_cast<void*>(&plain), 0xA5, sizeof plain);
        int code = mng.calcVehLocationInLM(pos, heading, &fast);
        ASSERT_EQ(code, plainSearch(mng.nodes, pos, heading, &plain)) << "fan " << m;
        fast.latestRefreshTime = +plain.latestRefreshTime;
        ASSERT_EQ(imageOf(fast), imageOf(plain)) << "fan " << m << ": node " << +fast.nodeId << " link " << +fast.upstreamNodeId;
        found += code == 1;
    }
    EXPECT_TRUE(found > 100 && found < 400) << found;
}
