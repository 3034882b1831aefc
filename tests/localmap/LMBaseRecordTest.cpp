#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "localmap/LMLaneExtend.h"
#include "localmap/LMLinkExtend.h"
#include "localmap/LMNodeBase.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMPointBase.h"

namespace {

std::vector<char> join(std::initializer_list<std::vector<char>> parts)
{
    std::vector<char> all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::vector<char> zeros(size_t n) { return std::vector<char>(n, 0); }

// What a decode may change, for checking that a refused one changed nothing.
template <typename Rec>
std::vector<char> snapshot(const Rec& rec)
{
    if constexpr (std::is_trivially_copyable<Rec>::value) {
        return imageOf(rec);
    } else {
        return flatOf(rec);
    }
}

// Every decoder refuses bad arguments without touching record or cursor,
// checks only the sign of len, and starts at the cursor.
template <typename Rec>
void expectArgumentContract(const std::vector<char>& record)
{
    SCOPED_TRACE(typeid(Rec).name());
    std::vector<char> wire = join({hexBytes("ee ee ee"), record});
    Rec rec;
    const std::vector<char> before = snapshot(rec);
    int pos = 3;
    EXPECT_EQ(rec.DeSerialize(nullptr, &pos, 10), -1);
    EXPECT_EQ(rec.DeSerialize(wire.data(), nullptr, 10), -1);
    EXPECT_EQ(rec.DeSerialize(wire.data(), &pos, -1), -1);
    EXPECT_EQ(pos, 3);
    pos = -1;
    EXPECT_EQ(rec.DeSerialize(wire.data(), &pos, 10), -1);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(snapshot(rec), before);

    pos = 3;
    EXPECT_EQ(rec.DeSerialize(wire.data(), &pos, 0), (int)record.size());
    EXPECT_EQ(pos, (int)wire.size());
}

}  // namespace

TEST(LMBaseRecords, ImagesMatchGoldenBytes)
{
    LMNodeBase node;
    node.latestRefreshTime = 1.0;
    node.longitude = 1.0;
    node.latitude = 2.0;
    memcpy(node.name, "N1", 2);
    node.nodeId = 0x0102030405060708LL;
    EXPECT_EQ(imageOf(node), join({hexBytes("00 00 00 00 00 00 f0 3f  4e 45  00 00 00 00 00 00 f0 3f"
                                            "  00 00 00 00 00 00 00 40"),
                                   zeros(8), hexBytes("4e 31"), zeros(62), hexBytes("08 07 06 05 04 03 02 01")}));

    LMLinkBase link;
    link.upstreamNodeId = -2;
    memcpy(link.name, "AB", 2);
    link.attrFloat1 = 1.0f;
    link.laneNum = 3;
    link.attrFloat2 = -2.0f;
    EXPECT_EQ(imageOf(link), join({hexBytes("fe ff ff ff ff ff ff ff  41 42"), zeros(62),
                                   hexBytes("00 00 80 3f  03  00 00 00 c0")}));

    LMLaneBase lane;
    lane.laneID = 1;
    lane.laneBitsA[0] = 0x12;
    lane.laneBitsA[1] = 0x34;
    lane.laneBitsB[0] = 0x56;
    lane.laneBitsB[1] = 0x78;
    lane.laneTypeCode = 2;
    lane.laneBitsC[0] = 0x9a;
    lane.laneBitsC[1] = 0xbc;
    EXPECT_EQ(imageOf(lane), hexBytes("01 12 34 56 78 02 9a bc"));

    LMMovementBase movement;
    movement.remoteNodeId = 0x0102030405060708LL;
    movement.phaseId = 9;
    EXPECT_EQ(imageOf(movement), hexBytes("08 07 06 05 04 03 02 01 09"));

    LMPointBase point;
    point.latitude = 2.0;
    point.dis2End = 1.0;
    EXPECT_EQ(imageOf(point), join({hexBytes("4e 45"), zeros(8), hexBytes("00 00 00 00 00 00 00 40"), zeros(8),
                                    hexBytes("00 00 00 00 00 00 f0 3f")}));

    LMSpeedLimitBase limit;
    limit.type = 5;
    limit.speed = 1.0f;
    EXPECT_EQ(imageOf(limit), hexBytes("05 00 00 80 3f"));
}

TEST(LMBaseRecords, DecoderArgumentContract)
{
    LMNodeExtend node = sampleNode(42);
    const LMLinkExtend& link = node.links.begin()->second;
    const LMLaneExtend& lane = link.lanes.begin()->second;
    auto written = [](auto write, const auto& rec) {
        std::vector<char> out;
        EXPECT_GT(write(rec, &out), 0);
        return out;
    };
    expectArgumentContract<LMNodeBase>(written(LMMessageWriter::writeNodeBase, node));
    expectArgumentContract<LMLinkBase>(written(LMMessageWriter::writeLinkBase, link));
    expectArgumentContract<LMLaneBase>(written(LMMessageWriter::writeLaneBase, lane));
    expectArgumentContract<LMMovementBase>(written(LMMessageWriter::writeMovement, link.movements.begin()->second));
    expectArgumentContract<LMPointBase>(written(LMMessageWriter::writePoint, link.points[0]));
    expectArgumentContract<LMSpeedLimitBase>(written(LMMessageWriter::writeSpeedLimit, link.speedLimits[0]));
    expectArgumentContract<LMLaneExtend>(written(LMMessageWriter::writeLane, lane));
    expectArgumentContract<LMLinkExtend>(written(LMMessageWriter::writeLink, link));
    expectArgumentContract<LMNodeExtend>(written(LMMessageWriter::writeNode, node));
}

TEST(LMBaseRecords, NodeDecodesHandWrittenRecordAndKeepsRefreshTime)
{
    std::vector<char> wire = hexBytes("00 25  3f f0 00 00 00 00 00 00  40 00 00 00 00 00 00 00"
                                      "  c0 08 00 00 00 00 00 00  53 57  02 41 42"
                                      "  80 00 00 00 00 00 00 01");
    LMNodeBase node;
    node.latestRefreshTime = 5.0;
    int pos = 0;
    ASSERT_EQ(node.DeSerialize(wire.data(), &pos, 0x25), 39);
    EXPECT_EQ(pos, 39);
    EXPECT_EQ(+node.longitude, 1.0);
    EXPECT_EQ(+node.latitude, 2.0);
    EXPECT_EQ(+node.altitude, -3.0);
    EXPECT_EQ(node.latHemisphere, 'S');
    EXPECT_EQ(node.lonHemisphere, 'W');
    EXPECT_EQ(std::string(node.name), "AB");
    EXPECT_EQ(+node.nodeId, (int64_t)0x8000000000000001ULL);
    EXPECT_EQ(+node.latestRefreshTime, 5.0);
}

TEST(LMBaseRecords, NameLengthUpTo64IsAcceptedAndNeverCleared)
{
    struct Case {
        int nameLen;
        int result;  // link record: 20 + n, or -1
    };
    for (Case c : {Case{0, 20}, Case{5, 25}, Case{64, 84}, Case{65, -1}, Case{255, -1}}) {
        SCOPED_TRACE(c.nameLen);
        std::vector<char> wire = hexBytes("00 00  00 00 00 00 00 00 00 07");
        wire.push_back((char)c.nameLen);
        for (int i = 0; i < c.nameLen; ++i) {
            wire.push_back((char)('a' + i % 26));
        }
        std::vector<char> tail = hexBytes("3f 80 00 00  02  40 00 00 00");
        wire.insert(wire.end(), tail.begin(), tail.end());

        LMLinkBase link;
        memcpy(link.name, "ZZZZZZZZZZ", 10);
        int pos = 0;
        EXPECT_EQ(link.DeSerialize(wire.data(), &pos, 0), c.result);
        EXPECT_EQ(+link.upstreamNodeId, 7);  // read before the name, even when refused
        if (c.result < 0) {
            EXPECT_EQ(pos, 0);
            EXPECT_EQ(link.laneNum, 0);
            EXPECT_EQ(std::string(link.name, 10), "ZZZZZZZZZZ");
            continue;
        }
        EXPECT_EQ(pos, c.result);
        EXPECT_EQ(link.laneNum, 2);
        EXPECT_EQ(+link.attrFloat2, 2.0f);
        for (int i = 0; i < LMLinkBase::NAME_LEN; ++i) {
            char expected = i < c.nameLen ? (char)('a' + i % 26) : (i < 10 ? 'Z' : 0);
            ASSERT_EQ(link.name[i], expected) << "at " << i;
        }
    }
}

TEST(LMBaseRecords, NodeWithOverlongNameKeepsDecodedPosition)
{
    LMNodeExtend sample = sampleNode(1);
    std::vector<char> wire;
    ASSERT_GT(LMMessageWriter::writeNodeBase(sample, &wire), 0);
    wire[2 + 26] = 65;  // name length byte
    LMNodeBase node;
    int pos = 0;
    EXPECT_EQ(node.DeSerialize(wire.data(), &pos, 0), -1);
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(+node.longitude, +sample.longitude);
    EXPECT_EQ(node.latHemisphere, 'S');
    EXPECT_EQ(+node.nodeId, 0);
}

TEST(LMBaseRecords, LaneBitsKeepReceivedOrderAndPointDistanceResets)
{
    std::vector<char> lanes = hexBytes("00 08  04 12 34 56 78 09 9a bc");
    LMLaneBase lane;
    int pos = 0;
    ASSERT_EQ(lane.DeSerialize(lanes.data(), &pos, 8), 10);
    EXPECT_EQ(imageOf(lane), hexBytes("04 12 34 56 78 09 9a bc"));

    std::vector<char> points;
    LMMessageWriter::writePoint(pointAt(3, 4), &points);
    LMPointBase point;
    point.dis2End = 5.0;
    pos = 0;
    ASSERT_EQ(point.DeSerialize(points.data(), &pos, 26), 28);
    EXPECT_EQ(+point.dis2End, 0.0);
    EXPECT_EQ(+point.latitude, +pointAt(3, 4).latitude);
}
