#include <gtest/gtest.h>

#include <cstring>

#include "v2xshm-unit/LMMessageWriter.h"
#include "LocalMapTestUtil.h"

namespace {

template <typename Map>
std::vector<int64_t> keysOf(const Map& m)
{
    std::vector<int64_t> keys;
    for (const auto& entry : m) {
        keys.push_back(entry.first);
    }
    return keys;
}

}  // namespace

TEST(LMBaseRecords, HandWrittenRecordsDecodeInReceivedByteOrder)
{
    std::vector<char> wire = hexBytes("00 25  3f f0 00 00 00 00 00 00  40 00 00 00 00 00 00 00  c0 08 00 00 00 00 00 00"
                                      "  53 57  02 41 42  80 00 00 00 00 00 00 01"
                                      "  00 08  04 12 34 56 78 09 9a bc");
    LMNodeBase node;
    node.latestRefreshTime = 5.0;  // not received: kept
    int pos = 0;
    ASSERT_EQ(node.DeSerialize(wire.data(), &pos, 0x25), 39);
    LMNodeBase want;
    want.latestRefreshTime = 5.0;
    want.longitude = 1.0, want.latitude = 2.0, want.altitude = -3.0, want.latHemisphere = 'S', want.lonHemisphere = 'W';
    memcpy(want.name, "AB", 2);
    want.nodeId = (int64_t)0x8000000000000001ULL;
    EXPECT_EQ(imageOf(node), imageOf(want));
    LMLaneBase lane;  // the bit strings keep the order received
    ASSERT_EQ(lane.DeSerialize(wire.data(), &pos, 8), 10);
    EXPECT_EQ(imageOf(lane), hexBytes("04 12 34 56 78 09 9a bc"));

    wire.clear();
    LMMessageWriter::writePoint(pointAt(3, 4), &wire);
    LMPointBase point;
    point.dis2End = 5.0;  // derived, never received: reset
    pos = 0;
    ASSERT_EQ(point.DeSerialize(wire.data(), &pos, 26), 28);
    EXPECT_EQ(imageOf(point), imageOf(pointAt(3, 4)));
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
    std::vector<char> wire = {0, 0};  // the node's own length, not read
    LMMessageWriter::writeNodeBase(sampleNode(1), &wire);
    wire.insert(wire.end(), {0, 0, 0, 2});
    LMMessageWriter::writeLink(first, &wire);
    LMMessageWriter::writeLink(second, &wire);
    LMNodeExtend node;
    int pos = 0;
    ASSERT_EQ(node.DeSerialize(wire.data(), &pos, 0), (int)wire.size());
    ASSERT_EQ(keysOf(node.links), std::vector<int64_t>{9});
    EXPECT_EQ(flatOf(node.links[9]), flatOf(second));
}

TEST(LMNodeExtend, FlattenAndRebuildGiveAnEqualNode)
{
    LMNodeExtend node = sampleNode(9);
    node.latestRefreshTime = 1234.5;
    for (auto& link : node.links) {
        link.second.calcPointsDis2End();
    }
    std::vector<char> flat(node.flatSize() + 1, 'x');
    int pos = 0;
    ASSERT_EQ(node.Obj2Buff(flat.data(), &pos), node.flatSize());
    EXPECT_EQ(flat.back(), 'x');  // nothing written beyond flatSize()
    flat.pop_back();
    uint32_t links = 0;
    memcpy(&links, flat.data() + 106, 4);
    EXPECT_EQ(links, 2u);  // host-order count right after the base image

    LMNodeExtend rebuilt = sampleNode(77);  // a target with other links: all replaced
    pos = 0;
    ASSERT_EQ(rebuilt.buffer2Obj(flat.data(), &pos), (int)flat.size());
    EXPECT_EQ(flatOf(rebuilt), flat);
    EXPECT_EQ(keysOf(rebuilt.links), (std::vector<int64_t>{1009, 2009}));
    EXPECT_EQ(keysOf(rebuilt.links[1009].lanes), (std::vector<int64_t>{1, 2}));
    EXPECT_NEAR(rebuilt.links[1009].points[0].dis2End, 75.0, 1e-6);
    EXPECT_EQ(+rebuilt.links[1009].points[2].dis2End, 0.0);

    // The bounded reader fails on every truncation without moving, and
    // never reads past the end.
    for (int end = 0; end <= (int)flat.size(); ++end) {
        FencedBytes cut(flat, end);
        LMNodeExtend partial;
        pos = 0;
        ASSERT_EQ(partial.buffer2Obj(cut.data(), &pos, end), end < (int)flat.size() ? -1 : end) << "end " << end;
        ASSERT_EQ(pos, end < (int)flat.size() ? 0 : end);
    }
}

TEST(LMNodeExtend, MergeAccumulatesMapsAndReplacesVectors)
{
    LMNodeExtend older = sampleNode(4);  // links 1004 and 2004
    LMNodeExtend newer;
    newer.nodeId = 4;
    newer.latestRefreshTime = 20.0;
    newer.name[0] = 'x';
    newer.links[9].upstreamNodeId = 9;
    LMLinkExtend& link = newer.links[1004];
    link.upstreamNodeId = 1004;
    link.laneNum = 4;
    link.points = {pointAt(7, 0), pointAt(8, 0)};
    link.movements = {{1, movement(1)}, {2004, movement(2004, 21)}};
    link.lanes[1].laneID = 1;
    link.lanes[1].laneTypeCode = 6;
    link.lanes[1].movements[6] = movement(6);
    link.lanes[3].laneID = 3;

    ASSERT_EQ(older.merge(newer), 1);
    EXPECT_EQ(imageOf(static_cast<LMNodeBase&>(older)), imageOf(static_cast<LMNodeBase&>(newer)));
    EXPECT_EQ(keysOf(older.links), (std::vector<int64_t>{9, 1004, 2004}));
    const LMLinkExtend& merged = older.links[1004];
    EXPECT_EQ(imageOf(static_cast<const LMLinkBase&>(merged)), imageOf(static_cast<LMLinkBase&>(link)));
    ASSERT_EQ(merged.points.size(), 2u);
    EXPECT_EQ(imageOf(merged.points[1]), imageOf(pointAt(8, 0)));
    EXPECT_TRUE(merged.speedLimits.empty());
    EXPECT_EQ(keysOf(merged.movements), (std::vector<int64_t>{1, 2004, 3004}));
    EXPECT_EQ(merged.movements.at(2004).phaseId, 21);
    EXPECT_EQ(keysOf(merged.lanes), (std::vector<int64_t>{1, 2, 3}));
    EXPECT_EQ(merged.lanes.at(1).laneTypeCode, 6);
    EXPECT_TRUE(merged.lanes.at(1).points.empty());
    EXPECT_EQ(keysOf(merged.lanes.at(1).movements), (std::vector<int64_t>{6, 2004}));
}
