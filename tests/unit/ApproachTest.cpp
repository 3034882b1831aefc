#include "v2xshm-unit/ApproachRSI.h"
#include "v2xshm-unit/ApproachSignal.h"

#include <cstring>

#include <gtest/gtest.h>

#include "SampleIntersection.h"
#include "SampleSignal.h"

namespace {

constexpr double T0 = 1.7e9;  // when the sample lights were received

struct Sample {
    std::map<int64_t, LMNodeExtend> nodes;
    std::map<int64_t, LMTrafficLightExtend> lights;
    LMMapRes northbound;  // on Mill Rd northbound, towards the centre node
    Sample()
    {
        for (LMNodeExtend& n : SampleIntersection::nodes()) {
            nodes[+n.nodeId] = n;  // keys copied out of packed records
        }
        for (LMTrafficLightExtend& l : SampleSignal::lights()) {
            l.latestRefreshTime = T0;
            lights[+l.id] = l;
        }
        northbound.nodeId = SampleIntersection::CENTRE_NODE;
        northbound.upstreamNodeId = SampleIntersection::SOUTH_NODE;
    }
};

int64_t int64Of(const uint8_t* bytes)
{
    int64_t v;
    memcpy(&v, bytes, sizeof v);
    return v;
}

// Mill Rd northbound: to 1002 and 1003 on phase 2 (red to 4 s, green to 60,
// yellow to 63), to 1004 on phase 1 (red to 63, green to 73, yellow to 76).
TEST(ApproachSignal, StateNowFollowsTheLightsAge)
{
    const struct {
        double age;
        uint8_t light1003, next1003;
        double remaining1003;
        uint8_t light1004;
        double remaining1004;
    } cases[] = {
        {2.0, LIGHT_RED, LIGHT_GREEN_PROTECTED, 2.0, LIGHT_RED, 61.0},
        {4.0, LIGHT_GREEN_PROTECTED, LIGHT_YELLOW_PROTECTED, 56.0, LIGHT_RED, 59.0},
        {61.5, LIGHT_YELLOW_PROTECTED, 0, 1.5, LIGHT_RED, 1.5},
        {63.0, 0, 0, -1.0, LIGHT_GREEN_PROTECTED, 10.0},  // a window ends where the age is
        {80.0, 0, 0, -1.0, 0, -1.0},                      // every state has ended
    };
    Sample s;
    for (const auto& c : cases) {
        ApproachSignal sig;
        ASSERT_EQ(1, evalApproachSignal(s.nodes, s.northbound, s.lights, T0 + c.age, &sig)) << c.age;
        ASSERT_EQ(3u, sig.movements.size());
        const ApproachMovement& m1003 = sig.movements[1];
        const ApproachMovement& m1004 = sig.movements[2];
        EXPECT_EQ(SampleIntersection::NORTH_NODE, m1003.remoteNodeId);
        EXPECT_EQ(2, m1003.phaseId);
        EXPECT_EQ(c.light1003, m1003.now.light) << c.age;
        EXPECT_EQ(c.next1003, m1003.now.nextLight) << c.age;
        EXPECT_DOUBLE_EQ(c.remaining1003, m1003.now.remaining) << c.age;
        EXPECT_EQ(c.remaining1003 >= 0.0, m1003.timeKnown());
        EXPECT_EQ(c.light1004, m1004.now.light) << c.age;
        EXPECT_DOUBLE_EQ(c.remaining1004, m1004.now.remaining) << c.age;
    }
}

TEST(ApproachSignal, PublishedFormAndMissingData)
{
    Sample s;
    ApproachSignal sig;
    ASSERT_EQ(1, evalApproachSignal(s.nodes, s.northbound, s.lights, T0 + 2.0, &sig));
    std::vector<LMTLPhaseRes> res;
    ASSERT_EQ(3, approachPhaseResults(sig, T0 + 2.5, &res));
    EXPECT_EQ(T0 + 2.5, res[2].getLatestRefreshTime());
    EXPECT_EQ(610, +res[2].valueInt);  // tenths of a second
    EXPECT_EQ(1, res[2].valueByte1);
    EXPECT_EQ(LIGHT_RED, res[2].valueByte2);
    EXPECT_EQ(SampleIntersection::CENTRE_NODE, int64Of(res[2].valueBytes1));
    EXPECT_EQ(SampleIntersection::WEST_NODE, int64Of(res[2].valueBytes2));

    // No light for the node: every movement listed, nothing known.
    s.lights.erase(SampleIntersection::CENTRE_NODE);
    ASSERT_EQ(1, evalApproachSignal(s.nodes, s.northbound, s.lights, T0, &sig));
    EXPECT_FALSE(sig.lightReceived);
    ASSERT_EQ(3, approachPhaseResults(sig, T0, &res));
    EXPECT_EQ(-1, +res[0].valueInt);
    EXPECT_EQ(0, res[0].valueByte2);

    LMMapRes elsewhere = s.northbound;
    elsewhere.upstreamNodeId = 42;
    EXPECT_EQ(-2, evalApproachSignal(s.nodes, elsewhere, s.lights, T0, &sig));
    EXPECT_EQ(-1, evalApproachSignal(s.nodes, s.northbound, s.lights, T0, nullptr));
}

TEST(ApproachRSI, RecordsOnTheLinkWithTheirDistance)
{
    Sample s;
    std::vector<LMRSIExtend> records = SampleSignal::rsiRecords();
    for (LMRSIExtend& r : records) {
        memcpy(r.sourceID, "rsu-1001", 8);
    }
    // A record 15.3 m off the link's centre line: within 3 lanes x 3.5 m + 5 m.
    records[2].points = {LMPointBase()};
    static_cast<GeoCoordinates&>(records[2].points[0]) = SampleIntersection::at(5.25 + 15.3, -50.0);
    memset(records[2].text, 'x', LMRSIBase::TEXT_LEN);  // no terminator
    GeoCoordinates vehicle = SampleIntersection::at(5.25, -100.0);
    std::vector<ApproachRSI> found;
    ASSERT_EQ(2, findApproachRSI(s.nodes, s.northbound, records, vehicle, &found));
    EXPECT_EQ(0u, found[0].listIndex);  // the road works, nearest point 10 m ahead
    EXPECT_NEAR(10.0, found[0].nearest, 0.01);
    EXPECT_EQ(2u, found[1].listIndex);  // the school zone on Harbour St is not on it
    EXPECT_EQ(0, found[0].line().find("rsu-1001#1: Road works ahead"));

    std::vector<LMRSIRes> res;
    ASSERT_EQ(2, approachRSIResults(found, T0, &res));
    EXPECT_EQ(10, res[0].valueByte2);
    EXPECT_EQ(255u, strnlen(res[1].text, LMRSIRes::TEXT_LEN));  // cut, still terminated

    records[2].points[0].longitude += 0.4 / SampleIntersection::METERS_PER_DEG_LON;  // 15.7 m off: out of reach
    EXPECT_EQ(1, findApproachRSI(s.nodes, s.northbound, records, vehicle, &found));
}

}  // namespace
