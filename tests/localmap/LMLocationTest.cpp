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

// The search as first written: every segment's exact distance and
// direction, the result filled at each better one.
int plainSearch(const std::map<int64_t, LMNodeExtend>& nodes, GeoCoordinates at, double heading, LMMapRes* out)
{
    LMMapRes found;
    double best = 9999.0;
    int lanes = 0;
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            const std::vector<LMPointBase>& p = link.second.points;
            for (size_t i = 1; i < p.size(); ++i) {
                double d = SpaceToolGeo::DistancePoint2LineSegment(at, p[i - 1], p[i]);
                double diff = fabs(heading - SpaceToolGeo::AngleOfVector(p[i - 1], p[i]));
                if (d < best && (diff < M_PI / 6 || 2 * M_PI - diff < M_PI / 6)) {
                    found.upstreamNodeId = link.first;
                    found.nodeId = node.first;
                    found.dis2StopLine = SpaceToolGeo::DistancePoint2Point(at, p[i]) + p[i].dis2End;
                    found.maxSpeed = link.second.getVehSpeedLimByType(5, 16.67f);
                    found.minSpeed = link.second.getVehSpeedLimByType(4, 0.0f);
                    lanes = link.second.laneNum;
                    best = d;
                }
            }
        }
    }
    if (lanes * 3.5 + 5.0 > best) {
        *out = found;
        return 1;
    }
    return -2;
}

}  // namespace

// Random maps at any latitude and scale, many segments turned just inside or
// outside 30 degrees of the heading: the search answers as the plain one,
// bit for bit.
TEST(LMLocation, AnswersAsThePlainSearch)
{
    std::mt19937 rng(19);
    auto uniform = [&rng](double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng); };
    LMNodeListMng mng(true);
    int found = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        double lat = trial % 3 ? uniform(-80, 80) : uniform(80, 89.5), lon = uniform(-180, 180), heading = uniform(-1, 7.5);
        double scale = std::pow(10.0, uniform(-3, 4.3));  // metres per step
        mng.nodes.clear();
        for (int n = 0; n < 3; ++n) {
            for (int l = 0; l < 3; ++l) {
                LMLinkExtend& link = mng.nodes[n].links[l];
                link.laneNum = (uint8_t)(rng() % 4);
                double east = uniform(-2, 2) * scale, north = uniform(-2, 2) * scale;
                for (int p = 0; p < 6; ++p) {
                    link.points.push_back(pointAt(east, north, lat, lon));
                    double turn = (rng() % 2 ? M_PI / 6 : -M_PI / 6) + uniform(-0.02, 0.02) * (rng() % 3);
                    double a = rng() % 4 ? heading + turn : uniform(0, 7);
                    east += scale * cos(a);
                    north += scale * sin(a);
                }
                link.calcPointsDis2End();
            }
        }
        GeoCoordinates vehicle = pointAt(uniform(-1, 3) * scale, uniform(-1, 3) * scale, lat, lon);
        if (trial % 2 == 1) {  // a few metres beside a segment, maybe a long one
            const std::vector<LMPointBase>& p = mng.nodes[rng() % 3].links[rng() % 3].points;
            size_t i = 1 + rng() % 5;
            double f = uniform(0, 1);
            vehicle = pointAt(uniform(-8, 8), uniform(-8, 8), p[i - 1].latitude * (1 - f) + p[i].latitude * f,
                              p[i - 1].longitude * (1 - f) + p[i].longitude * f);
        }
        LMMapRes fast, plain;
        int rc = mng.calcVehLocationInLM(vehicle, heading, &fast);
        ASSERT_EQ(rc, plainSearch(mng.nodes, vehicle, heading, &plain)) << trial;
        if (rc == 1) {
            ++found;
            std::vector<char> a = imageOf(fast), b = imageOf(plain);
            EXPECT_TRUE(std::equal(a.begin() + 8, a.end(), b.begin() + 8)) << trial;  // past the stamp
        }
    }
    EXPECT_GT(found, 700);
}

TEST(LMLocation, ReachHeadingAndDistanceAlongTheLinkAndAMissLeavesTheCallersRecord)
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
    // Along a link of two segments: the nearer segment's end, then the rest;
    // beyond the last point, the distance to it. The first limit of each type.
    setLink(&mng, 1, {pointAt(-100, 0), pointAt(-50, 0), pointAt(0, 0)}).speedLimits = {
        limit(5, 13.9f), limit(4, 2.0f), limit(5, 8.3f)};
    ASSERT_EQ(mng.calcVehLocationInLM(pointAt(-75, 1), 0.0, &res), 1);
    EXPECT_NEAR(res.dis2StopLine, std::hypot(25.0, 1.0) + 50.0, 1e-3);
    EXPECT_TRUE(res.maxSpeed == 13.9f && res.minSpeed == 2.0f);
    ASSERT_EQ(mng.calcVehLocationInLM(pointAt(5, 0), 0.0, &res), 1);
    EXPECT_NEAR(res.dis2StopLine, 5.0, 1e-6);
    mng.nodes[1].links[10].points = {pointAt(-100, 0)};  // one point: no segment
    EXPECT_EQ(mng.calcVehLocationInLM(pointAt(-100, 0), 0.0, &res), -2);
}
