#include "shm/IFSHM.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>
#include <stdexcept>
#include <vector>

#include "ShmTestSupport.h"
#include "shm/SHMTool.h"
#include "support/ProcessHelpers.h"

namespace {

constexpr int SIZE = 64;

// Writes the first half of the list, then throws when *fail, else answers 7.
int writeHalf(void* list, bool fail)
{
    memset(list, 0x77, SIZE / 2);
    if (fail) {
        throw std::runtime_error("callback failed halfway");
    }
    return 7;
}
int writeHalfInCopy(void* copy, int, void* fail) { return writeHalf(copy, *(bool*)fail); }
int writeHalfInPlace(void* shm, void* fail) { return writeHalf(shm, *(bool*)fail); }

// Read, let the others run, write: without the lock, updates get lost.
int addOne(void* list, void*)
{
    int32_t value;
    memcpy(&value, list, sizeof value);
    sched_yield();
    value += 1;
    memcpy(list, &value, sizeof value);
    return 1;
}
int addOneInCopy(void* copy, int, void*) { return addOne(copy, nullptr); }

}  // namespace

class IF_SHM_ : public ::testing::Test {
protected:
    void TearDown() override { removeIpc(RAW_KEY); }
};

TEST_F(IF_SHM_, TransfersAreBoundedByTheSegmentOnBothSides)
{
    RawList owner(RAW_KEY, SIZE, true);
    unsigned char src[SIZE + 1];
    memset(src, 0xEE, sizeof src);
    struct {
        int len, expected;
    } cases[] = {{0, 1}, {10, 1}, {SIZE + 1, -1}, {SIZE, 1}};
    for (const auto& c : cases) {
        memset(owner.bytes(), 0x11, SIZE);
        EXPECT_EQ(owner.commit2SHM(src, c.len), c.expected) << "len " << c.len;
        for (int i = 0; i < SIZE; ++i) {
            // Refused: the segment stays; accepted: what the data does not fill is cleared.
            ASSERT_EQ(owner.bytes()[i], c.expected < 0 ? 0x11 : (i < c.len ? 0xEE : 0)) << c.len << " byte " << i;
        }
    }
    unsigned char dst[SIZE] = {};
    EXPECT_EQ(owner.updateFromSHM(dst, SIZE - 1), -1) << "the reader needs room for the whole segment";
    EXPECT_EQ(dst[0], 0);
    EXPECT_EQ(owner.updateFromSHM(dst, SIZE), 1);
    EXPECT_EQ(dst[SIZE - 1], 0xEE);
    EXPECT_EQ(semValue(RAW_KEY), 1);
}

TEST_F(IF_SHM_, CallbacksWriteBackAndAnswerUnlessTheyThrow)
{
    RawList owner(RAW_KEY, SIZE, true);
    for (bool fail : {false, true}) {
        for (bool inPlace : {false, true}) {
            memset(owner.bytes(), 0x22, SIZE);
            int rc = inPlace ? owner.operateSHMNotSafe(writeHalfInPlace, &fail)
                             : owner.updateOperateCommit(writeHalfInCopy, &fail);
            EXPECT_EQ(rc, fail ? -1 : 7) << "fail " << fail << " in place " << inPlace;
            // A throw discards the copy; writes made in place stay.
            EXPECT_EQ(owner.bytes()[0], fail && !inPlace ? 0x22 : 0x77) << "fail " << fail << " in place " << inPlace;
            EXPECT_EQ(owner.bytes()[SIZE / 2], 0x22);
            EXPECT_EQ(semValue(RAW_KEY), 1) << "the lock is given back";
        }
    }
}

TEST_F(IF_SHM_, LockKeepsConcurrentReadModifyWritesWhole)
{
    RawList owner(RAW_KEY, SIZE, true);
    constexpr int WRITERS = 4;
    constexpr int ROUNDS = 500;
    std::vector<pid_t> writers;
    for (int w = 0; w < WRITERS; ++w) {
        writers.push_back(forkChild([w] {
            RawList mine(RAW_KEY, SIZE, false);
            for (int i = 0; i < ROUNDS; ++i) {
                // Half the writers work on a copy, half in place.
                int rc = w % 2 ? mine.updateOperateCommit(addOneInCopy, nullptr)
                               : mine.operateSHMNotSafe(addOne, nullptr);
                if (rc != 1) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    for (pid_t w : writers) {
        EXPECT_EQ(waitChild(w, 60000), 0);
    }
    int32_t counter;
    memcpy(&counter, owner.bytes(), sizeof counter);
    EXPECT_EQ(counter, WRITERS * ROUNDS);
}

TEST_F(IF_SHM_, NonOwnerBeforeOwnerWaitsAndOwnerClearsTheSegment)
{
    Signal attached;
    pid_t early = forkChild([&] {
        RawList mine(RAW_KEY, SIZE, false);
        memset(mine.bytes(), 0x99, SIZE);  // stale data the owner must wipe
        attached.post();
        unsigned char got[SIZE];
        if (mine.updateFromSHM(got, SIZE) != 1) {
            return 1;
        }
        return got[0] == 0 && got[SIZE - 1] == 0 ? 0 : 2;
    });
    ASSERT_TRUE(attached.wait());
    EXPECT_TRUE(stillRunningAfter(early, 200)) << "the first transfer waits for the owner";
    RawList owner(RAW_KEY, SIZE, true);
    EXPECT_EQ(waitChild(early), 0);
}

TEST_F(IF_SHM_, ListWithoutUsableSegmentAnswersMinusOneWithoutWaiting)
{
    // Size 0 cannot be created, and a segment made earlier too small is not
    // attached. The set made by a non-owner stays held, so any transfer that
    // took the lock would wait forever.
    void* early = nullptr;
    for (int size : {0, SIZE}) {
        if (size > 0) {
            ASSERT_NE(SHMTool::init_shm(RAW_KEY, 16, &early), -1);
            memset(early, 0x44, 16);
        }
        pid_t user = forkChild([size] {
            RawList broken(RAW_KEY, size, false);
            char buf[SIZE] = {};
            bool called = false;
            int rc1 = broken.commit2SHM(buf, 0);
            int rc2 = broken.updateFromSHM(buf, SIZE);
            int rc3 = broken.operateSHMNotSafe([](void*, void* arg) { return *(bool*)arg = true, 1; }, &called);
            int rc4 = broken.updateOperateCommit([](void*, int, void*) { return 1; }, nullptr);
            return rc1 == -1 && rc2 == -1 && rc3 == -1 && rc4 == -1 && !called ? 0 : 1;
        });
        EXPECT_EQ(waitChild(user, 5000), 0) << "size " << size;
        EXPECT_EQ(segmentExists(RAW_KEY), size > 0);
    }
    {
        RawList owner(RAW_KEY, SIZE, true);
        unsigned char buf[SIZE] = {};
        EXPECT_EQ(owner.commit2SHM(buf, SIZE), -1);
        EXPECT_EQ(((unsigned char*)early)[0], 0x44) << "not cleared either";
    }
    SHMTool::close_shm(&early);
    EXPECT_FALSE(segmentExists(RAW_KEY)) << "the owner still removes what it found";
}
