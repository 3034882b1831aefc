#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "LocalMapTestUtil.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "support/ProcessHelpers.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr double DEG = PI / 180.0;

LMLinkExtend link(int64_t upstream, uint8_t lanes, std::vector<LMPointBase> points)
{
    LMLinkExtend l;
    l.upstreamNodeId = upstream;
    l.laneNum = lanes;
    l.points = points;
    l.calcPointsDis2End();
    return l;
}

// One node (key 1) with one link (key 10) running east from -100 m to 0.
class LMLocationTest : public ::testing::Test {
protected:
    void addLink(int64_t node, const LMLinkExtend& l)
    {
        mng.nodes[node].nodeId = node;
        mng.nodes[node].links[l.upstreamNodeId] = l;
    }
    void eastLink(uint8_t lanes) { addLink(1, link(10, lanes, {pointAt(-100, 0), pointAt(0, 0)})); }

    LMNodeListMng mng{true};
    LMMapRes res;
};

}  // namespace

TEST_F(LMLocationTest, ReachIsThreeAndAHalfMetresPerLanePlusFive)
{
    struct Case {
        int lanes;
        double offset;  // metres beside the link, either side
        int result;
    };
    for (Case c : {Case{1, 1.0, 1}, Case{1, -8.4, 1}, Case{1, 8.6, -2}, Case{1, 9.0, -2}, Case{2, 11.9, 1},
                   Case{2, -12.1, -2}, Case{0, 4.9, 1}, Case{0, 5.1, -2}}) {
        SCOPED_TRACE(testing::Message() << c.lanes << " lanes, " << c.offset << " m");
        mng.nodes.clear();
        eastLink((uint8_t)c.lanes);
        LMMapRes out;
        ASSERT_EQ(mng.calcVehLocationInLM(geoAt(-50, c.offset), 0.0, &out), c.result);
        if (c.result == 1) {
            EXPECT_EQ(+out.nodeId, 1);
            EXPECT_EQ(+out.upstreamNodeId, 10);
            EXPECT_NEAR(out.dis2StopLine, std::hypot(50.0, c.offset), 1e-3);
            EXPECT_FALSE(out.isPreciseOverTime(1.0));
        }
    }
}

TEST_F(LMLocationTest, HeadingMustBeWithinThirtyDegrees)
{
    eastLink(1);
    addLink(2, link(20, 1, {pointAt(-100, 100 * tan(1 * DEG)), pointAt(0, 0)}));  // heads 359 degrees
    struct Case {
        int64_t node;
        double heading;
        int result;
    };
    for (Case c : {Case{1, 29 * DEG, 1}, Case{1, 331 * DEG, 1}, Case{1, 31 * DEG, -2}, Case{1, 329 * DEG, -2},
                   Case{1, 2 * PI - 0.01, 1}, Case{2, 1 * DEG, 1}, Case{2, 330.5 * DEG, 1}, Case{2, 327 * DEG, -2},
                   // The difference is not normalised: 540 degrees passes the wrap test.
                   Case{1, 3 * PI, 1}, Case{1, std::numeric_limits<double>::quiet_NaN(), -2}}) {
        SCOPED_TRACE(testing::Message() << "node " << c.node << " heading " << c.heading / DEG);
        // Each link alone, so the other cannot answer for it.
        std::map<int64_t, LMNodeExtend> all = mng.nodes;
        mng.nodes = {{c.node, all.at(c.node)}};
        LMMapRes out;
        EXPECT_EQ(mng.calcVehLocationInLM(geoAt(-50, 1), c.heading, &out), c.result);
        if (c.result == 1) {
            EXPECT_EQ(+out.nodeId, c.node);
        }
        mng.nodes = all;
    }
}

TEST_F(LMLocationTest, FirstFoundWinsOnTies)
{
    for (int64_t node : {2, 1}) {
        for (int64_t up : {20, 10}) {
            addLink(node, link(up, 1, {pointAt(-100, 0), pointAt(0, 0), pointAt(100, 0)}));
        }
    }
    // At (0, 1) both segments of every link are exactly 1 m away.
    ASSERT_EQ(mng.calcVehLocationInLM(geoAt(0, 1), 0.0, &res), 1);
    EXPECT_EQ(+res.nodeId, 1);
    EXPECT_EQ(+res.upstreamNodeId, 10);
    EXPECT_NEAR(res.dis2StopLine, 1.0 + 100.0, 1e-6);  // measured to the first segment's end
}

TEST_F(LMLocationTest, ReachUsesTheNearestLinkOnly)
{
    addLink(1, link(10, 1, {pointAt(-100, 9), pointAt(0, 9)}));
    addLink(1, link(20, 3, {pointAt(-100, -10), pointAt(0, -10)}));
    EXPECT_EQ(mng.calcVehLocationInLM(geoAt(-50, 0), 0.0, &res), -2);
    mng.nodes[1].links.erase(10);
    ASSERT_EQ(mng.calcVehLocationInLM(geoAt(-50, 0), 0.0, &res), 1);
    EXPECT_EQ(+res.upstreamNodeId, 20);
}

TEST_F(LMLocationTest, DistanceToStopLineFollowsTheLink)
{
    addLink(1, link(10, 1, {pointAt(-100, 0), pointAt(-50, 0), pointAt(0, 0)}));
    ASSERT_EQ(mng.calcVehLocationInLM(geoAt(-75, 1), 0.0, &res), 1);
    EXPECT_NEAR(res.dis2StopLine, std::hypot(25.0, 1.0) + 50.0, 1e-3);

    // Beyond the last point: the distance to that point, plus nothing.
    ASSERT_EQ(mng.calcVehLocationInLM(geoAt(5, 0), 0.0, &res), 1);
    EXPECT_NEAR(res.dis2StopLine, 5.0, 1e-6);
}

TEST_F(LMLocationTest, SpeedLimitsOrDefaults)
{
    eastLink(1);
    ASSERT_EQ(mng.calcVehLocationInLM(geoAt(-50, 1), 0.0, &res), 1);
    EXPECT_EQ(+res.maxSpeed, 16.67f);
    EXPECT_EQ(+res.minSpeed, 0.0f);

    mng.nodes[1].links[10].speedLimits = sampleNode(1).links.at(1001).speedLimits;  // (5, 13.9) (4, 2) (5, 8.3)
    ASSERT_EQ(mng.calcVehLocationInLM(geoAt(-50, 1), 0.0, &res), 1);
    EXPECT_EQ(+res.maxSpeed, 13.9f);
    EXPECT_EQ(+res.minSpeed, 2.0f);
    EXPECT_EQ(imageOf(res)[32], 0);  // spare byte
}

TEST_F(LMLocationTest, NothingFoundLeavesTheCallersRecord)
{
    LMMapRes out;
    memset(static_cast<void*>(&out), 0xab, sizeof out);
    const std::vector<char> before = imageOf(out);
    EXPECT_EQ(mng.calcVehLocationInLM(geoAt(0, 0), 0.0, &out), -2);  // empty map
    addLink(1, link(10, 1, {pointAt(-100, 0)}));                         // one point: no segment
    EXPECT_EQ(mng.calcVehLocationInLM(geoAt(-100, 0), 0.0, &out), -2);
    eastLink(1);
    EXPECT_EQ(mng.calcVehLocationInLM(geoAt(-50, 30), 0.0, &out), -2);  // too far
    EXPECT_EQ(mng.calcVehLocationInLM(geoAt(-50, 1), PI, &out), -2);    // wrong way
    EXPECT_EQ(imageOf(out), before);
    EXPECT_EQ(mng.calcVehLocationInLM(geoAt(-50, 1), 0.0, nullptr), -1);
}

TEST(LMMapRes, ImageMatchesGoldenBytes)
{
    LMMapRes res;
    EXPECT_EQ(imageOf(res), std::vector<char>(41, 0));
    res.latestRefreshTime = 1.0;
    res.upstreamNodeId = 2;
    res.nodeId = -1;
    res.dis2StopLine = 2.0;
    res.maxSpeed = 1.0f;
    res.minSpeed = -2.0f;
    EXPECT_EQ(imageOf(res), hexBytes("00 00 00 00 00 00 f0 3f  02 00 00 00 00 00 00 00"
                                     "  ff ff ff ff ff ff ff ff  00 00 00 00 00 00 00 40"
                                     "  00  00 00 80 3f  00 00 00 c0"));
}

TEST(LMMapResMng, ResultCommittedByLocatorIsReadElsewhere)
{
    LMMapResMng owner(true);
    LMMapResMng reader(false);
    ASSERT_EQ(reader.update(), 1);
    EXPECT_EQ(imageOf(reader.mapRes), std::vector<char>(41, 0));

    pid_t child = forkChild([] {
        LMMapResMng locator(false);
        locator.mapRes.nodeId = 7;
        locator.mapRes.dis2StopLine = 12.5;
        locator.mapRes.maxSpeed = 13.9f;
        locator.mapRes.refreshTime();
        return locator.commit() == 1 ? 0 : 1;
    });
    ASSERT_EQ(waitChild(child), 0);
    ASSERT_EQ(reader.update(), 1);
    EXPECT_EQ(+reader.mapRes.nodeId, 7);
    EXPECT_EQ(+reader.mapRes.dis2StopLine, 12.5);
    EXPECT_EQ(+reader.mapRes.maxSpeed, 13.9f);
    EXPECT_FALSE(reader.mapRes.isPreciseOverTime(5.0));
}
