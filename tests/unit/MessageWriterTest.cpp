// The message writers' refusals. What they write is pinned by the committed
// sample files (SampleMessages in the local map tests, byte for byte) and
// decoded as the trusted decoder has it (CheckedDecoders there).
#include "v2xshm-unit/LMMessageWriter.h"

#include <gtest/gtest.h>
#include <vector>

#include "SampleSignal.h"

TEST(LMMessageWriter, ARecordTooLongForItsLengthFieldLeavesTheOutputAsItWas)
{
    // 1200 points of 28 bytes each: more than a 16-bit length can say.
    LMRSIExtend big = SampleSignal::rsiRecords()[0];
    big.points.assign(1200, LMPointBase());
    std::vector<char> out = {'k', 'e', 'p', 't'};
    const std::vector<char> before = out;
    EXPECT_EQ(LMMessageWriter::writeRSIList({SampleSignal::rsiRecords()[1], big}, &out), -1);
    EXPECT_EQ(out, before);
    EXPECT_EQ(LMMessageWriter::writeNodeList({}, nullptr), -1);
    // A list that fits goes after what the output held.
    std::vector<char> sample, want = before;
    ASSERT_GT(SampleSignal::writeRSI(&sample), 0);
    want.insert(want.end(), sample.begin(), sample.end());
    EXPECT_EQ(LMMessageWriter::writeRSIList(SampleSignal::rsiRecords(), &out), (int)sample.size());
    EXPECT_EQ(out, want);
}
