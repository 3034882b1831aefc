// The message ring and the totals: slot order, wrap-around, bounded counts,
// 64-bit byte totals, the full peer table, and logging from another process.
#include "status/CommRecordMng.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "status/CommSumMng.h"
#include "support/ByteImage.h"
#include "support/ProcessHelpers.h"

namespace {

constexpr int RECORD_KEY = 77601;
constexpr int SUM_KEY = 77602;

CommInfo message(int32_t type, int32_t peer, uint32_t length)
{
    CommInfo info;
    info.latestRefreshTime = 1700000000.5;
    info.commType = type;
    info.peerId = peer;
    info.length = length;
    return info;
}

// Logs n messages, the i-th (from 1) with length i.
void logMessages(CommRecord* rec, int n)
{
    for (int i = 1; i <= n; ++i) {
        CommInfo info = message(1, 7, (uint32_t)i);
        ASSERT_EQ(CommRecordMng::insertOneInfo2Record(rec, &info), 1);
    }
}

}  // namespace

TEST(CommInfo, GoldenBytes)
{
    EXPECT_EQ(freshImage<CommInfo>(), Bytes(38, 0));
    CommInfo info = message(2, -2, 0x01020304);
    info.reserved[1] = 0x99;
    memcpy(info.detail, "abcdefghijklmnop", 16);
    Bytes expected = {0x00, 0x00, 0x20, 0x40, 0xFC, 0x54, 0xD9, 0x41,  // 1700000000.5
                      0x02, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 0x04, 0x03, 0x02, 0x01, 0x00, 0x99};
    for (char c = 'a'; c <= 'p'; ++c) expected.push_back((uint8_t)c);
    EXPECT_EQ(bytesOf(&info, sizeof info), expected);
}

TEST(CommRecordMng, RingFillsFromSlotOneAndWraps)
{
    struct {
        int inserts, latestIndex, count;
        int newestLength, oldestLength;  // lengths of the newest and oldest entries
    } cases[] = {
        {1, 1, 1, 1, 1}, {499, 499, 499, 499, 1}, {500, 0, 500, 500, 1}, {501, 1, 500, 501, 2}, {1234, 234, 500, 1234, 735},
    };
    for (const auto& c : cases) {
        std::unique_ptr<CommRecord> rec(new CommRecord);
        logMessages(rec.get(), c.inserts);
        EXPECT_EQ(copyOf(rec->latestIndex), c.latestIndex) << c.inserts;
        EXPECT_EQ(copyOf(rec->count), c.count);
        EXPECT_EQ(copyOf(rec->infos[rec->slotOfNewest(0)].length), (uint32_t)c.newestLength);
        EXPECT_EQ(copyOf(rec->infos[rec->slotOfNewest(c.count - 1)].length), (uint32_t)c.oldestLength);
    }
    // Clearing restarts the order and keeps the entries.
    std::unique_ptr<CommRecord> rec(new CommRecord);
    logMessages(rec.get(), 3);
    EXPECT_EQ(CommRecordMng::initCommRecord(rec.get(), nullptr), 1);
    EXPECT_EQ(copyOf(rec->count), 0);
    EXPECT_EQ(copyOf(rec->infos[3].length), 3u);
}

TEST(CommRecordMng, DamagedIndexAndCountStayInTheRing)
{
    struct {
        int32_t latestIndex, count;
        int slot, countAfter;
    } cases[] = {
        {-7, 5, 1, 6}, {500, 3, 1, 4}, {INT_MAX, -3, 1, 1}, {INT_MIN, 9999, 1, 500}, {499, 500, 0, 500},
    };
    for (const auto& c : cases) {
        std::unique_ptr<CommRecord> rec(new CommRecord);
        rec->latestIndex = c.latestIndex;
        rec->count = c.count;
        logMessages(rec.get(), 1);
        EXPECT_EQ(copyOf(rec->latestIndex), c.slot) << c.latestIndex;
        EXPECT_EQ(copyOf(rec->count), c.countAfter);
        EXPECT_EQ(copyOf(rec->infos[c.slot].length), 1u);
    }
}

TEST(CommSumMng, CountsPerTypeAndPeer)
{
    CommSum sum = CommSum();
    const CommInfo log[] = {message(1, 10, 100), message(0, 10, 5), message(2, 20, 7), message(3, 30, 5),
                            message(1, 10, 0xFFFFFFFF), message(1, 10, 0xFFFFFFFF), message(2, 10, 1)};
    for (CommInfo info : log) {
        ASSERT_EQ(CommSumMng::addOneCommRecord(&sum, &info), 1);
    }
    EXPECT_EQ(copyOf(sum.type1Count), 3);
    EXPECT_EQ(copyOf(sum.type1Bytes), 100 + 2 * 0xFFFFFFFFull);  // past 4 GiB
    EXPECT_EQ(copyOf(sum.type2Count), 2);
    EXPECT_EQ(copyOf(sum.type2Bytes), 8u);
    ASSERT_EQ(copyOf(sum.peerCount), 2);  // types 0 and 3 made no row for peer 30
    EXPECT_EQ(copyOf(sum.peers[0].peerId), 10);
    EXPECT_EQ(copyOf(sum.peers[0].type1Count), 3);
    EXPECT_EQ(copyOf(sum.peers[0].type1Bytes), 100 + 2 * 0xFFFFFFFFull);
    EXPECT_EQ(copyOf(sum.peers[0].type2Count), 1);
    EXPECT_EQ(copyOf(sum.peers[1].peerId), 20);
    EXPECT_EQ(copyOf(sum.peers[1].type2Bytes), 7u);
    EXPECT_EQ(copyOf(sum.peers[1].type1Count), 0);

    // The image as another process reads it.
    CommSum one = CommSum();
    CommInfo info = message(2, 7, 0x01020304);
    CommSumMng::addOneCommRecord(&one, &info);
    Bytes expected(1820, 0);
    const std::pair<int, Bytes> fields[] = {
        {12, {1}}, {16, {4, 3, 2, 1}}, {24, {1}}, {28, {7}}, {44, {1}}, {48, {4, 3, 2, 1}}};
    for (const auto& f : fields) std::copy(f.second.begin(), f.second.end(), expected.begin() + f.first);
    EXPECT_EQ(bytesOf(&one, sizeof one), expected);
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
        int rc = CommSumMng::addOneCommRecord(sum, &newcomer);
        EXPECT_EQ(rc, peerCount < 0 ? 1 : CommSumMng::PEER_TABLE_FULL) << peerCount;
        EXPECT_EQ(copyOf(sum->type2Count), 1);
        EXPECT_EQ(copyOf(sum->type2Bytes), 10u);
        EXPECT_EQ(Bytes(image.end() - 28, image.end()), Bytes(28, 0xCD));
    }
}

// An owner process holds both segments; another logs into them as a writer
// does, and the owner reads what it logged.
TEST(CommRecordMng, AnotherProcessLogs)
{
    CommRecordMng records(RECORD_KEY, true);
    CommSumMng sums(SUM_KEY, true);
    pid_t child = forkChild([] {
        CommRecordMng r(RECORD_KEY, false);
        CommSumMng s(SUM_KEY, false);
        for (int i = 1; i <= 3; ++i) {
            CommInfo info = message(i == 3 ? 2 : 1, 40 + i, 1000u * i);
            if (r.operateSHMNotSafe(CommRecordMng::insertOneInfo2Record, &info) != 1 ||
                s.operateSHMNotSafe(CommSumMng::addOneCommRecord, &info) != 1) {
                return 1;
            }
        }
        return 0;
    });
    ASSERT_EQ(waitChild(child), 0);
    ASSERT_EQ(records.update(), 1);
    ASSERT_EQ(sums.update(), 1);
    EXPECT_EQ(copyOf(records.record.count), 3);
    EXPECT_EQ(copyOf(records.record.infos[records.record.slotOfNewest(0)].peerId), 43);
    EXPECT_EQ(copyOf(sums.sum.type1Bytes), 3000u);
    EXPECT_EQ(copyOf(sums.sum.type2Count), 1);
    EXPECT_EQ(copyOf(sums.sum.peerCount), 3);
}
