#include <gtest/gtest.h>

#include <cstring>

#include "v2xshm-unit/LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "SampleSignal.h"
#include "localmap/LMRSIExtend.h"
#include "localmap/LMTrafficLightExtend.h"
#include "support/ByteImage.h"


TEST(LMSignalRecords, LightDecodesFromGoldenBytesAndKeepsItsStamp)
{
    // Light 0x0102030405060708, status 12 34, stamp -2, confidence 7; one
    // phase 5 (attr 0x81) with two states of light 3 (the second wins).
    std::vector<char> bytes = hexBytes(
        "00 00  00 0d 01 02 03 04 05 06 07 08 12 34 ff fe 07  00 00 00 01"
        "  00 00  00 02 05 81  00 00 00 02"
        "  00 1a 03 3f 80 00 00 40 00 00 00 40 40 00 00 40 80 00 00 09 bf 80 00 00 41 20 00 00"
        "  00 1a 03 3f 80 00 00 40 00 00 00 40 40 00 00 41 00 00 00 0a bf 80 00 00 41 20 00 00");
    LMTrafficLightExtend light;
    light.latestRefreshTime = 42.0;
    int pos = 0;
    ASSERT_EQ(light.DeSerialize(bytes.data(), &pos, 0), (int)bytes.size());
    EXPECT_EQ(imageOf<LMTrafficLightBase>(light), hexBytes("00 00 00 00 00 00 45 40  08 07 06 05 04 03 02 01  12 34 fe ff 07"));
    ASSERT_EQ(light.phases.size(), 1u);
    const LMPhaseExtend& phase = light.phases.at(5);
    EXPECT_EQ(phase.phaseAttr, 0x81);
    ASSERT_EQ(phase.phaseStates.size(), 1u);
    const LMPhaseStateBase& s = phase.phaseStates.at(3);
    EXPECT_EQ(copyOf(s.likelyEndTime), 8.0f);
    EXPECT_EQ(s.timeConfidence, 10);
    EXPECT_EQ(copyOf(s.nextStartTime), -1.0f);
    EXPECT_EQ(copyOf(s.nextDuration), 10.0f);

    // A negative length is refused whatever the fields hold.
    pos = 0;
    EXPECT_EQ(light.DeSerialize(bytes.data(), &pos, -1), -1);
    EXPECT_EQ(pos, 0);
}

TEST(LMSignalRecords, RsiTextAndPointsRoundTripAndOldTextTailStays)
{
    LMRSIExtend rsi = SampleSignal::rsiRecords()[0];
    std::vector<char> message;
    ASSERT_GT(LMMessageWriter::writeRSI(rsi, &message), 0);
    LMRSIExtend decoded, over;
    memset(over.text, 'x', sizeof over.text);
    memcpy(over.sourceID, "kept", 5);
    int pos = 0, overPos = 0;
    ASSERT_EQ(decoded.DeSerialize(message.data(), &pos, 0), (int)message.size());
    EXPECT_EQ(flatOf(decoded), flatOf(rsi));
    ASSERT_EQ(over.DeSerialize(message.data(), &overPos, 0), (int)message.size());
    int textLen = (int)strlen(rsi.text);
    EXPECT_EQ(memcmp(over.text, rsi.text, textLen), 0);
    EXPECT_EQ(over.text[textLen], 'x') << "the tail of an older, longer text stays";
    EXPECT_STREQ(over.sourceID, "kept");
}
