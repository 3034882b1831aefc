#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "LocalMapTestUtil.h"
#include "localmap/LMNodeListMng.h"

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

}  // namespace

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
