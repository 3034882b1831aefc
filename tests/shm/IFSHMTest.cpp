#include "shm/IFSHM.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sched.h>
#include <stdexcept>
#include <vector>

#include "ShmTestSupport.h"
#include "support/ProcessHelpers.h"

namespace {

constexpr int SIZE = 64;

// Writes the first half of the list, then throws when *fail, else answers 7.
int writeHalf(void* list, void* fail)
{
    memset(list, 0x77, SIZE / 2);
    if (*(bool*)fail) {
        throw std::runtime_error("callback failed halfway");
    }
    return 7;
}
int writeHalfInCopy(void* copy, int, void* fail) { return writeHalf(copy, fail); }

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
    for (int len : {10, SIZE + 1, SIZE}) {
        memset(owner.bytes(), 0x11, SIZE);
        EXPECT_EQ(owner.commit2SHM(src, len), len > SIZE ? -1 : 1) << "len " << len;
        for (int i = 0; i < SIZE; ++i) {
            // Refused: the segment stays; accepted: what the data does not fill is cleared.
            ASSERT_EQ(owner.bytes()[i], len > SIZE ? 0x11 : (i < len ? 0xEE : 0)) << len << " byte " << i;
        }
    }
    unsigned char dst[SIZE] = {};
    EXPECT_EQ(owner.updateFromSHM(dst, SIZE - 1), -1) << "the reader needs room for the whole segment";
    EXPECT_EQ(owner.updateFromSHM(dst, SIZE), 1);
    EXPECT_EQ(dst[SIZE - 1], 0xEE);
}

TEST_F(IF_SHM_, CallbacksWriteBackAndAnswerUnlessTheyThrow)
{
    RawList owner(RAW_KEY, SIZE, true);
    for (bool fail : {false, true}) {
        for (bool inPlace : {false, true}) {
            memset(owner.bytes(), 0x22, SIZE);
            int rc = inPlace ? owner.operateSHMNotSafe(writeHalf, &fail)
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
    constexpr int WRITERS = 4, ROUNDS = 500;
    std::vector<pid_t> writers;
    for (int w = 0; w < WRITERS; ++w) {
        writers.push_back(forkChild([w] {
            RawList mine(RAW_KEY, SIZE, false);
            int done = 0;  // half the writers work on a copy, half in place
            for (int i = 0; i < ROUNDS; ++i) {
                done += w % 2 ? mine.updateOperateCommit(addOneInCopy, nullptr) : mine.operateSHMNotSafe(addOne, 0);
            }
            return done == ROUNDS ? 0 : 1;
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
        return mine.updateFromSHM(got, SIZE) == 1 && got[0] == 0 && got[SIZE - 1] == 0 ? 0 : 1;
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
    for (int size : {0, SIZE}) {
        if (size > 0) {
            ASSERT_NE(shmget(RAW_KEY, 16, IPC_CREAT | 0666), -1);
        }
        pid_t user = forkChild([size] {
            RawList broken(RAW_KEY, size, false);
            char buf[SIZE] = {};
            bool called = false;
            int rc = broken.commit2SHM(buf, 0) + broken.updateFromSHM(buf, SIZE) +
                     broken.operateSHMNotSafe([](void*, void* arg) { return *(bool*)arg = true, 1; }, &called) +
                     broken.updateOperateCommit([](void*, int, void*) { return 1; }, nullptr);
            return rc == -4 && !called ? 0 : 1;
        });
        EXPECT_EQ(waitChild(user, 5000), 0) << "size " << size;
    }
}
