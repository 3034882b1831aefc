// The message ring and the totals: slot order, wrap-around, damaged index
// and count, 64-bit byte totals, the full peer table. Logging from separate
// processes is in tests/tools/ToolFrameTest.sh, the images in tests/abi.
#include "status/CommRecordMng.h"

#include <climits>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "status/CommSumMng.h"
#include "support/ByteImage.h"

namespace {

CommInfo message(int32_t type, int32_t peer, uint32_t length)
{
    CommInfo info;
    info.commType = type, info.peerId = peer, info.length = length;
    return info;
}

}  // namespace

TEST(CommRecordMng, RingFillsFromSlotOneWrapsAndStaysInRange)
{
    // The index and count as found in the segment; the oldest length 0 is a slot never written.
    struct { int32_t latestIndex, count; int inserts, latestAfter, countAfter, oldestLength; } cases[] = {
        {0, 0, 1, 1, 1, 1},     {0, 0, 499, 499, 499, 1}, {0, 0, 500, 0, 500, 1},   {0, 0, 501, 1, 500, 2},
        {0, 0, 1234, 234, 500, 735}, {-7, 5, 1, 1, 6, 0},  {500, 3, 1, 1, 4, 0},    {INT_MAX, -3, 1, 1, 1, 1},
        {INT_MIN, 9999, 1, 1, 500, 0}, {499, 500, 1, 0, 500, 0},
    };
    for (const auto& c : cases) {
        std::unique_ptr<CommRecord> rec(new CommRecord);
        rec->latestIndex = c.latestIndex, rec->count = c.count;
        for (int i = 1; i <= c.inserts; ++i) {
            CommInfo info = message(1, 7, (uint32_t)i);
            ASSERT_EQ(CommRecordMng::insertOneInfo2Record(rec.get(), &info), 1);
        }
        EXPECT_EQ(std::make_pair(copyOf(rec->latestIndex), copyOf(rec->count)),
                  std::make_pair(c.latestAfter, c.countAfter)) << c.latestIndex << " " << c.inserts;
        EXPECT_EQ(copyOf(rec->infos[rec->slotOfNewest(0)].length), (uint32_t)c.inserts);
        EXPECT_EQ(copyOf(rec->infos[rec->slotOfNewest(c.countAfter - 1)].length), (uint32_t)c.oldestLength);
    }
}

TEST(CommSumMng, CountsPerTypeAndPeer)
{
    CommSum sum = CommSum();
    for (CommInfo info : {message(1, 10, 100), message(0, 10, 5), message(2, 20, 7), message(3, 30, 5),
                          message(1, 10, 0xFFFFFFFF), message(1, 10, 0xFFFFFFFF), message(2, 10, 1)}) {
        ASSERT_EQ(CommSumMng::addOneCommRecord(&sum, &info), 1);
    }
    const uint64_t big = 100 + 2 * 0xFFFFFFFFull;  // past 4 GiB
    using U = std::vector<uint64_t>;
    EXPECT_EQ((U{(uint64_t)sum.type1Count, sum.type1Bytes, (uint64_t)sum.type2Count, sum.type2Bytes}),
              (U{3, big, 2, 8}));
    ASSERT_EQ(copyOf(sum.peerCount), 2);  // types 0 and 3 made no row for peer 30
    const auto &p0 = sum.peers[0], &p1 = sum.peers[1];
    EXPECT_EQ((U{(uint64_t)p0.peerId, (uint64_t)p0.type1Count, (uint64_t)p0.type2Count, p0.type1Bytes}),
              (U{10, 3, 1, big}));
    EXPECT_EQ((U{(uint64_t)p1.peerId, p1.type2Bytes}), (U{20, 7}));
}

TEST(CommSumMng, NoPeerRowIsWrittenPastTheTable)
{
    for (int32_t peerCount : {64, 65, 1000, -1}) {
        Bytes image(sizeof(CommSum) + 28, 0xCD);  // a guard row after the table
        CommSum* sum = (CommSum*)image.data();
        CommSumMng::initCommSum(sum, nullptr);
        for (int i = 0; i < 64; ++i) sum->peers[i].peerId = i;
        sum->peerCount = peerCount;
        CommInfo newcomer = message(2, 64, 10);
        EXPECT_EQ(CommSumMng::addOneCommRecord(sum, &newcomer), peerCount < 0 ? 1 : CommSumMng::PEER_TABLE_FULL);
        EXPECT_EQ(copyOf(sum->type2Bytes), 10u);
        EXPECT_EQ(Bytes(image.end() - 28, image.end()), Bytes(28, 0xCD)) << peerCount;
    }
}
