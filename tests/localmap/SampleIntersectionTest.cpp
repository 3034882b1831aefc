#include "SampleIntersection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <vector>

#include "localmap/LMMessageCheck.h"
#include "localmap/LMNodeListMng.h"
#include "space/GNSS.h"

namespace {

std::vector<char> committedSample()
{
    std::ifstream in(V2XSHM_SAMPLE_MAP, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A compass heading (degrees clockwise from north) as the location search
// takes it, converted the way a fix is.
double headingOf(float compassDegrees)
{
    GNSS fix;
    fix.heading = compassDegrees;
    fix.refreshMovable2D();
    return fix.motion.heading;
}

}  // namespace

class SampleIntersectionTest : public ::testing::Test {
protected:
    // The committed message decoded as a receiving process does it.
    void load()
    {
        std::vector<char> bytes = committedSample();
        int pos = 0;
        ASSERT_EQ(LMMessageCheck::DeSerializeChecked(&mng, bytes.data(), &pos, (int)bytes.size()),
                  (int)bytes.size());
        for (auto& node : mng.nodes) {
            for (auto& link : node.second.links) {
                link.second.calcPointsDis2End();
            }
        }
    }

    LMNodeListMng mng{true};
};

TEST_F(SampleIntersectionTest, GeneratorReproducesTheCommittedFileByteForByte)
{
    std::vector<char> written;
    ASSERT_GT(SampleIntersection::writeMessage(&written), 0);
    std::vector<char> committed = committedSample();
    ASSERT_FALSE(committed.empty()) << "cannot read " << V2XSHM_SAMPLE_MAP;
    EXPECT_EQ(written, committed) << "regenerate it with v2xshm_makesample";
}

TEST_F(SampleIntersectionTest, IsAFourWayIntersectionWithANeighbour)
{
    load();
    ASSERT_EQ(mng.nodes.size(), 2u);
    const LMNodeExtend& centre = mng.nodes.at(SampleIntersection::CENTRE_NODE);
    ASSERT_EQ(centre.links.size(), 4u);
    ASSERT_EQ(mng.nodes.at(SampleIntersection::NEIGHBOUR_NODE).links.count(SampleIntersection::CENTRE_NODE), 1u);
    for (const auto& node : mng.nodes) {
        for (const auto& entry : node.second.links) {
            const LMLinkExtend& link = entry.second;
            SCOPED_TRACE(testing::Message() << "node " << node.first << " link " << entry.first);
            EXPECT_TRUE(link.laneNum == 2 || link.laneNum == 3);
            EXPECT_EQ(link.lanes.size(), link.laneNum);
            EXPECT_GE(link.points.size(), 3u);
            EXPECT_EQ(link.movements.size(), 3u);
            EXPECT_GT(link.getVehSpeedLimByType(5, 0.0f), 0.0f);
            for (const auto& lane : link.lanes) {
                EXPECT_EQ(lane.second.points.size(), link.points.size());
                EXPECT_FALSE(lane.second.movements.empty());
            }
        }
    }
    // The centre node's approaches lead towards the neighbour.
    EXPECT_EQ(centre.links.at(SampleIntersection::SOUTH_NODE).movements.count(SampleIntersection::NEIGHBOUR_NODE), 1u);
}

TEST_F(SampleIntersectionTest, VehiclesAreLocatedOnTheApproachTheyDrive)
{
    load();
    struct Case {
        double east, north;  // metres from the centre node
        float heading;       // compass degrees
        int result;
        int64_t node, link;
        double dis2StopLine;  // metres
        float maxSpeed;
    };
    const Case cases[] = {
        {5.25, -90.0, 0.0f, 1, 1001, 1005, 75.0, 13.89f},    // northbound, middle lane
        {1.75, -40.0, 2.0f, 1, 1001, 1005, 25.244, 13.89f},  // inner lane: 3.5 m beside the end point
        {-5.25, 100.0, 180.0f, 1, 1001, 1003, 85.0, 13.89f},  // southbound
        {200.0, 3.5, 270.0f, 1, 1001, 1002, 185.0, 11.11f},  // westbound from the neighbour
        {200.0, -3.5, 90.0f, 1, 1002, 1001, 205.0, 11.11f},  // eastbound towards the neighbour
        {5.25, 20.0, 0.0f, -2, 0, 0, 0.0, 0.0f},             // through the intersection, no link ahead
        {5.25, -90.0, 180.0f, -2, 0, 0, 0.0, 0.0f},          // wrong way on the northbound approach
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.east << " m east, " << c.north << " m north, " << c.heading << " deg");
        LMMapRes res;
        ASSERT_EQ(mng.calcVehLocationInLM(SampleIntersection::at(c.east, c.north), headingOf(c.heading), &res),
                  c.result);
        if (c.result == 1) {
            EXPECT_EQ(res.nodeId, c.node);
            EXPECT_EQ(res.upstreamNodeId, c.link);
            EXPECT_NEAR(res.dis2StopLine, c.dis2StopLine, 0.01);
            EXPECT_FLOAT_EQ(res.maxSpeed, c.maxSpeed);
        }
    }
}
