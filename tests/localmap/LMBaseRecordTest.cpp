#include <gtest/gtest.h>

#include <type_traits>

#include "LMMessageWriter.h"
#include "LocalMapTestUtil.h"

namespace {

// Every decoder refuses bad arguments without touching record or cursor,
// checks only the sign of len, and starts at the cursor.
template <typename Rec, typename Source>
void expectArgumentContract(int (*write)(const Source&, std::vector<char>*), const Source& source)
{
    SCOPED_TRACE(typeid(Rec).name());
    std::vector<char> wire = hexBytes("ee ee ee");
    int size = write(source, &wire);
    Rec rec;
    auto snapshot = [&rec] {
        if constexpr (std::is_trivially_copyable<Rec>::value) {
            return imageOf(rec);
        } else {
            return flatOf(rec);
        }
    };
    const std::vector<char> before = snapshot();
    int pos = 3;
    int negative = -1;
    EXPECT_EQ(rec.DeSerialize(nullptr, &pos, 10), -1);
    EXPECT_EQ(rec.DeSerialize(wire.data(), nullptr, 10), -1);
    EXPECT_EQ(rec.DeSerialize(wire.data(), &pos, -1), -1);
    EXPECT_EQ(rec.DeSerialize(wire.data(), &negative, 10), -1);
    EXPECT_EQ(pos + negative, 2);
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(rec.DeSerialize(wire.data(), &pos, 0), size);
    EXPECT_EQ(pos, (int)wire.size());
}

}  // namespace

TEST(LMBaseRecords, DecoderArgumentContract)
{
    LMNodeExtend node = sampleNode(42);
    const LMLinkExtend& link = node.links.begin()->second;
    const LMLaneExtend& lane = link.lanes.begin()->second;
    expectArgumentContract<LMNodeBase, LMNodeBase>(LMMessageWriter::writeNodeBase, node);
    expectArgumentContract<LMLinkBase, LMLinkBase>(LMMessageWriter::writeLinkBase, link);
    expectArgumentContract<LMLaneBase, LMLaneBase>(LMMessageWriter::writeLaneBase, lane);
    expectArgumentContract<LMMovementBase>(LMMessageWriter::writeMovement, link.movements.begin()->second);
    expectArgumentContract<LMPointBase>(LMMessageWriter::writePoint, link.points[0]);
    expectArgumentContract<LMSpeedLimitBase>(LMMessageWriter::writeSpeedLimit, link.speedLimits[0]);
    expectArgumentContract<LMLaneExtend>(LMMessageWriter::writeLane, lane);
    expectArgumentContract<LMLinkExtend>(LMMessageWriter::writeLink, link);
    expectArgumentContract<LMNodeExtend>(LMMessageWriter::writeNode, node);
}

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
