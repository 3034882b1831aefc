#include <gtest/gtest.h>

#include <cstring>

#include "LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "codec/SerializeTool.h"
#include "localmap/LMNodeExtend.h"

namespace {

std::vector<char> wireOf(const LMNodeExtend& node)
{
    std::vector<char> out;
    EXPECT_GT(LMMessageWriter::writeNode(node, &out), 0);
    return out;
}

void putShortAt(std::vector<char>* buf, int at, short value)
{
    SerializeTool::Short2Byte(buf->data(), &at, value);
}

std::vector<int64_t> keysOf(const std::map<int64_t, LMMovementBase>& movements)
{
    std::vector<int64_t> keys;
    for (const auto& entry : movements) {
        keys.push_back(entry.first);
    }
    return keys;
}

}  // namespace

TEST(LMMessageWriter, WritesGoldenBytes)
{
    std::vector<char> out;
    EXPECT_EQ(LMMessageWriter::writeMovement(movement(0x0102030405060708LL, 9), &out), 11);
    EXPECT_EQ(out, hexBytes("00 09  01 02 03 04 05 06 07 08  09"));

    LMLaneExtend lane;
    lane.laneID = 1;
    lane.laneTypeCode = 2;
    lane.movements[5] = movement(5, 3);
    out.clear();
    EXPECT_EQ(LMMessageWriter::writeLane(lane, &out), 31);
    EXPECT_EQ(out, hexBytes("00 1d  00 08 01 00 00 00 00 02 00 00  00 00 00 00  00 00 00 01"
                            "  00 09 00 00 00 00 00 00 00 05 03"));

    LMLinkBase link;
    link.upstreamNodeId = 1;
    link.attrFloat1 = 1.0f;
    link.laneNum = 2;
    out = hexBytes("aa");  // writers append
    EXPECT_EQ(LMMessageWriter::writeLinkBase(link, &out), 20);
    EXPECT_EQ(out, hexBytes("aa  00 12  00 00 00 00 00 00 00 01  00  3f 80 00 00  02  00 00 00 00"));

    out.clear();
    EXPECT_EQ(LMMessageWriter::writeNodeList({}, &out), 6);
    EXPECT_EQ(out, hexBytes("00 00 00 00 00 00"));
    EXPECT_EQ(LMMessageWriter::writeNodeList({}, nullptr), -1);
}

TEST(LMMessageWriter, RefusesRecordsTooLongForTheirLength)
{
    LMLinkExtend link;
    // Length = 20 (base record) + 4 counts + 28 per point: 1168 points give
    // 32740, one more 32768.
    link.points.assign(1168, pointAt(0, 0));
    std::vector<char> out = hexBytes("01 02");
    EXPECT_EQ(LMMessageWriter::writeLink(link, &out), 2 + 32740);
    link.points.push_back(pointAt(0, 0));
    out = hexBytes("01 02");
    EXPECT_EQ(LMMessageWriter::writeLink(link, &out), -1);
    EXPECT_EQ(out, hexBytes("01 02"));  // nothing appended
}

TEST(LMNodeExtend, WireRoundTripGivesEqualNodes)
{
    std::vector<LMNodeExtend> nodes = {sampleNode(7), sampleNode(-3), LMNodeExtend()};
    std::vector<char> wire;
    ASSERT_GT(LMMessageWriter::writeNodeList(nodes, &wire), 0);
    int pos = 6;
    for (const LMNodeExtend& original : nodes) {
        LMNodeExtend decoded;
        int start = pos;
        ASSERT_GT(decoded.DeSerialize(wire.data(), &pos, 0), 0);
        EXPECT_EQ(flatOf(decoded), flatOf(original));
        EXPECT_EQ(pos - start, (int)wireOf(original).size());
        for (const auto& link : decoded.links) {
            EXPECT_EQ(link.first, +link.second.upstreamNodeId);
            for (const auto& lane : link.second.lanes) {
                EXPECT_EQ(lane.first, lane.second.laneID);
            }
        }
    }
    EXPECT_EQ(pos, (int)wire.size());
}

TEST(LMNodeExtend, LaterChildWithSameKeyReplacesEarlier)
{
    LMLinkExtend first;
    first.upstreamNodeId = 9;
    first.name[0] = '1';
    first.points = {pointAt(0, 0)};
    LMLinkExtend second = first;
    second.name[0] = '2';
    second.points.clear();

    std::vector<char> body;
    LMMessageWriter::writeNodeBase(sampleNode(1), &body);
    body.insert(body.end(), {0, 0, 0, 2});
    LMMessageWriter::writeLink(first, &body);
    LMMessageWriter::writeLink(second, &body);
    std::vector<char> wire = {0, 0};
    wire.insert(wire.end(), body.begin(), body.end());

    LMNodeExtend node;
    int pos = 0;
    ASSERT_EQ(node.DeSerialize(wire.data(), &pos, 0), (int)wire.size());
    ASSERT_EQ(node.links.size(), 1u);
    EXPECT_EQ(node.links[9].name[0], '2');
    EXPECT_TRUE(node.links[9].points.empty());
}

TEST(LMNodeExtend, BrokenChildFailsTheNodeAndKeepsWhatWasDecoded)
{
    const LMNodeExtend sample = sampleNode(1);  // links 1001 (two lanes) and 2001
    const std::vector<char> good = wireOf(sample);
    const LMLinkExtend& first = sample.links.begin()->second;
    const int firstLink = 2 + wireSize(LMMessageWriter::writeNodeBase, sample) + 4;
    const int firstLane = firstLink + 2 + wireSize(LMMessageWriter::writeLinkBase, first) + 4;
    const int secondLink = firstLink + wireSize(LMMessageWriter::writeLink, first);

    struct Case {
        const char* what;
        int at;
        short length;
    };
    for (Case c : {Case{"own base", 2, -1}, Case{"first link", firstLink, (short)0x8000},
                   Case{"lane of first link", firstLane, (short)0xffff}, Case{"second link", secondLink, -32768}}) {
        SCOPED_TRACE(c.what);
        std::vector<char> wire = good;
        putShortAt(&wire, c.at, c.length);
        LMNodeExtend node;
        int pos = 0;
        EXPECT_EQ(node.DeSerialize(wire.data(), &pos, 0), -2);
        EXPECT_EQ(pos, 0);
        EXPECT_EQ(node.links.size(), c.at == secondLink ? 1u : 0u);
        if (c.at != 2) {
            EXPECT_EQ(+node.nodeId, 1);
        }
    }
}

TEST(LMNodeExtend, NegativeCountDecodesNoChildren)
{
    LMNodeExtend sample = sampleNode(1);
    std::vector<char> wire = wireOf(sample);
    int countAt = 2 + wireSize(LMMessageWriter::writeNodeBase, sample);
    SerializeTool::Int2Byte(wire.data(), &countAt, -1);

    LMNodeExtend node = sampleNode(5);
    int pos = 0;
    EXPECT_EQ(node.DeSerialize(wire.data(), &pos, 0), countAt);
    EXPECT_TRUE(node.links.empty());
    EXPECT_EQ(+node.nodeId, 1);
}

TEST(LMNodeExtend, FlattenAndRebuildGiveAnEqualNode)
{
    LMNodeExtend node = sampleNode(9);
    node.latestRefreshTime = 1234.5;
    for (auto& link : node.links) {
        link.second.calcPointsDis2End();
    }
    std::vector<char> flat = flatOf(node);
    EXPECT_EQ((int)flat.size(), node.flatSize());

    LMNodeExtend rebuilt = sampleNode(77);  // a target with other links: all replaced
    int pos = 0;
    ASSERT_EQ(rebuilt.buffer2Obj(flat.data(), &pos), (int)flat.size());
    EXPECT_EQ(pos, (int)flat.size());
    EXPECT_EQ(flatOf(rebuilt), flat);
    EXPECT_EQ(+rebuilt.latestRefreshTime, 1234.5);
    EXPECT_EQ(rebuilt.links.size(), node.links.size());
    EXPECT_NEAR(rebuilt.links[1009].points[0].dis2End, 75.0, 1e-6);

    // The bounded reader agrees, and fails on every truncation without moving.
    pos = 0;
    EXPECT_EQ(rebuilt.buffer2Obj(flat.data(), &pos, (int)flat.size()), (int)flat.size());
    for (int end = 0; end < (int)flat.size(); ++end) {
        LMNodeExtend partial;
        pos = 0;
        ASSERT_EQ(partial.buffer2Obj(flat.data(), &pos, end), -1) << "end " << end;
        ASSERT_EQ(pos, 0);
    }
}

TEST(LMNodeExtend, FlattenedSizes)
{
    LMNodeExtend node;
    LMLaneExtend lane;
    LMLinkExtend link;
    EXPECT_EQ(flatOf(node).size(), 110u);
    EXPECT_EQ(flatOf(lane).size(), 16u);
    EXPECT_EQ(flatOf(link).size(), 97u);

    link.lanes[1] = lane;
    link.speedLimits.resize(1);
    link.points.resize(1);
    link.movements[3] = movement(3, 1);
    EXPECT_EQ(flatOf(link).size(), 97u + 16 + 5 + 34 + 9);
    node.links[1] = link;
    node.links[2] = link;
    EXPECT_EQ(flatOf(node).size(), 110u + 2 * 161);

    std::vector<char> image = flatOf(node);
    uint32_t count = 0;
    memcpy(&count, image.data() + 106, 4);
    EXPECT_EQ(count, 2u);  // host-order count right after the base image
}

TEST(LMNodeExtend, MergeAccumulatesMapsAndReplacesVectors)
{
    LMLinkExtend older;
    older.upstreamNodeId = 1;
    older.points = {pointAt(0, 0), pointAt(1, 0), pointAt(2, 0)};
    older.speedLimits.resize(2);
    older.movements = {{2, movement(2, 20)}, {3, movement(3, 30)}};
    older.lanes[1].laneID = 1;
    older.lanes[1].points = {pointAt(5, 5)};
    older.lanes[1].movements[5] = movement(5, 50);
    older.lanes[2].laneID = 2;

    LMLinkExtend newer;
    newer.upstreamNodeId = 1;
    newer.name[0] = 'n';
    newer.laneNum = 4;
    newer.points = {pointAt(7, 0), pointAt(8, 0)};
    newer.movements = {{1, movement(1, 11)}, {2, movement(2, 21)}};
    newer.lanes[1].laneID = 1;
    newer.lanes[1].laneTypeCode = 6;
    newer.lanes[1].movements[6] = movement(6, 60);
    newer.lanes[3].laneID = 3;

    LMNodeExtend olderNode;
    olderNode.nodeId = 4;
    olderNode.latestRefreshTime = 10.0;
    olderNode.links[1] = older;
    olderNode.links[8].upstreamNodeId = 8;
    LMNodeExtend newerNode;
    newerNode.nodeId = 4;
    newerNode.latestRefreshTime = 20.0;
    newerNode.name[0] = 'x';
    newerNode.links[1] = newer;
    newerNode.links[9].upstreamNodeId = 9;

    ASSERT_EQ(olderNode.merge(newerNode), 1);
    EXPECT_EQ(+olderNode.latestRefreshTime, 20.0);
    EXPECT_EQ(olderNode.name[0], 'x');
    ASSERT_EQ(olderNode.links.size(), 3u);  // 1 merged, 8 kept, 9 added
    const LMLinkExtend& merged = olderNode.links[1];
    EXPECT_EQ(merged.name[0], 'n');
    EXPECT_EQ(merged.laneNum, 4);
    ASSERT_EQ(merged.points.size(), 2u);
    EXPECT_EQ(imageOf(merged.points[0]), imageOf(pointAt(7, 0)));
    EXPECT_TRUE(merged.speedLimits.empty());
    EXPECT_EQ(keysOf(merged.movements), (std::vector<int64_t>{1, 2, 3}));
    EXPECT_EQ(merged.movements.at(2).phaseId, 21);
    ASSERT_EQ(merged.lanes.size(), 3u);
    const LMLaneExtend& lane = merged.lanes.at(1);
    EXPECT_EQ(lane.laneTypeCode, 6);
    EXPECT_TRUE(lane.points.empty());
    EXPECT_EQ(keysOf(lane.movements), (std::vector<int64_t>{5, 6}));
}

TEST(LMNodeExtend, RemovingAVanishedNodeDropsWhatLeadsToIt)
{
    LMNodeExtend node;
    node.nodeId = 1;
    node.links[10].upstreamNodeId = 10;
    node.links[10].movements[20] = movement(20, 1);
    LMLinkExtend& link20 = node.links[20];
    link20.upstreamNodeId = 20;
    link20.movements = {{10, movement(10, 2)}, {30, movement(30, 3)}};
    link20.lanes[1].laneID = 1;
    link20.lanes[1].movements = {{10, movement(10, 4)}, {30, movement(30, 5)}};

    const std::vector<char> before = flatOf(node);
    EXPECT_EQ(node.removeNodeRelatedData(1), 1);  // its own id
    EXPECT_EQ(flatOf(node), before);
    EXPECT_EQ(node.removeNodeRelatedData(99), 1);  // unrelated
    EXPECT_EQ(flatOf(node), before);

    LMLinkExtend alone = link20;
    EXPECT_EQ(alone.removeNodeRelatedData(20), 1);  // the link's own upstream node
    EXPECT_EQ(flatOf(alone), flatOf(link20));

    EXPECT_EQ(node.removeNodeRelatedData(10), 1);
    ASSERT_EQ(node.links.size(), 1u);
    EXPECT_EQ(keysOf(node.links.at(20).movements), (std::vector<int64_t>{30}));
    EXPECT_EQ(keysOf(node.links.at(20).lanes.at(1).movements), (std::vector<int64_t>{30}));
}

TEST(LMLinkExtend, DistancesToTheEndRunBackFromTheLastPoint)
{
    LMLinkExtend link;
    link.calcPointsDis2End();  // no points: nothing to do
    link.points = {pointAt(3, 3)};
    link.points[0].dis2End = 5.0;
    link.calcPointsDis2End();
    EXPECT_EQ(+link.points[0].dis2End, 0.0);

    link.points = {pointAt(0, 0), pointAt(10, 0), pointAt(20, 0)};
    link.lanes[1].points = {pointAt(0, 0), pointAt(10, 0)};
    link.lanes[1].points[0].dis2End = 7.0;
    link.calcPointsDis2End();
    EXPECT_NEAR(link.points[0].dis2End, 20.0, 1e-6);
    EXPECT_NEAR(link.points[1].dis2End, 10.0, 1e-6);
    EXPECT_EQ(+link.points[2].dis2End, 0.0);
    EXPECT_EQ(+link.lanes[1].points[0].dis2End, 7.0);
}

TEST(LMLinkExtend, SpeedLimitByTypeTakesTheFirstMatch)
{
    LMLinkExtend link;
    EXPECT_EQ(link.getVehSpeedLimByType(5, 16.67f), 16.67f);
    link.speedLimits.resize(3);
    link.speedLimits[0].type = 4;
    link.speedLimits[0].speed = 2.0f;
    link.speedLimits[1].type = 5;
    link.speedLimits[1].speed = 13.9f;
    link.speedLimits[2].type = 5;
    link.speedLimits[2].speed = 8.3f;
    EXPECT_EQ(link.getVehSpeedLimByType(5, 16.67f), 13.9f);
    EXPECT_EQ(link.getVehSpeedLimByType(4, 0.0f), 2.0f);
    EXPECT_EQ(link.getVehSpeedLimByType(3, 16.67f), 16.67f);
}
