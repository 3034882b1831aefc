#include <gtest/gtest.h>

#include "v2xshm-unit/LMMessageWriter.h"
#include "LocalMapTestUtil.h"

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
