#include "shm/IFSHM.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <sys/shm.h>
#include <vector>

#include "ShmTestSupport.h"
#include "shm/SHMTool.h"
#include "support/ProcessHelpers.h"

namespace {

constexpr int SIZE = 64;

int fillAndThrow(void* copy, int size, void*)
{
    memset(copy, 0x55, size);
    throw std::runtime_error("callback failed halfway");
}

int writeHalfAndThrow(void* shm, void*)
{
    memset(shm, 0x77, SIZE / 2);
    throw std::runtime_error("callback failed halfway");
}

int addOneToCounter(void* copy, int, void* arg)
{
    int32_t value;
    memcpy(&value, copy, sizeof value);
    value += 1;
    memcpy(copy, &value, sizeof value);
    return *(int*)arg;
}

std::vector<unsigned char> image(const RawList& list)
{
    return std::vector<unsigned char>(list.bytes(), list.bytes() + SIZE);
}

}  // namespace

class IF_SHM_ : public ::testing::Test {
protected:
    void TearDown() override { removeIpc(RAW_KEY); }
};

TEST_F(IF_SHM_, CommitLengthIsBoundedBySegmentAndClearsTheRest)
{
    RawList owner(RAW_KEY, SIZE, true);
    unsigned char src[SIZE + 1];
    memset(src, 0xEE, sizeof src);

    struct Case {
        int len;
        int expected;
    } cases[] = {{SIZE, 1}, {SIZE + 1, -1}, {10, 1}, {0, 1}};
    for (const Case& c : cases) {
        memset(owner.bytes(), 0x11, SIZE);
        std::vector<unsigned char> before = image(owner);
        EXPECT_EQ(owner.commit2SHM(src, c.len), c.expected) << "len " << c.len;
        std::vector<unsigned char> after = image(owner);
        if (c.expected < 0) {
            EXPECT_EQ(after, before) << "a refused commit leaves the segment";
            continue;
        }
        for (int i = 0; i < SIZE; ++i) {
            ASSERT_EQ(after[i], i < c.len ? 0xEE : 0) << "len " << c.len << " byte " << i;
        }
    }
    EXPECT_EQ(semValue(RAW_KEY), 1);
}

TEST_F(IF_SHM_, UpdateNeedsRoomForTheWholeSegment)
{
    RawList owner(RAW_KEY, SIZE, true);
    memset(owner.bytes(), 0x3C, SIZE);
    unsigned char dst[SIZE];
    memset(dst, 0, sizeof dst);
    EXPECT_EQ(owner.updateFromSHM(dst, SIZE - 1), -1);
    EXPECT_EQ(dst[0], 0);
    EXPECT_EQ(owner.updateFromSHM(dst, SIZE), 1);
    EXPECT_EQ(dst[0], 0x3C);
    EXPECT_EQ(dst[SIZE - 1], 0x3C);
    EXPECT_EQ(semValue(RAW_KEY), 1);
}

TEST_F(IF_SHM_, CommitInOneProcessIsReadInAnother)
{
    RawList owner(RAW_KEY, SIZE, true);
    Signal committed;
    pid_t writer = forkChild([&] {
        RawList mine(RAW_KEY, SIZE, false);
        char text[] = "from the child";
        int rc = mine.commit2SHM(text, sizeof text);
        committed.post();
        return rc == 1 ? 0 : 1;
    });
    ASSERT_TRUE(committed.wait());
    EXPECT_EQ(waitChild(writer), 0);
    char got[SIZE];
    ASSERT_EQ(owner.updateFromSHM(got, SIZE), 1);
    EXPECT_STREQ(got, "from the child");
}

TEST_F(IF_SHM_, ThrowingCallbackInCopyLeavesSegmentAndLock)
{
    RawList owner(RAW_KEY, SIZE, true);
    memset(owner.bytes(), 0x22, SIZE);
    std::vector<unsigned char> before = image(owner);
    EXPECT_EQ(owner.updateOperateCommit(fillAndThrow, nullptr), -1);
    EXPECT_EQ(image(owner), before);
    EXPECT_EQ(semValue(RAW_KEY), 1);
}

TEST_F(IF_SHM_, ThrowingCallbackInPlaceKeepsItsWritesAndFreesLock)
{
    RawList owner(RAW_KEY, SIZE, true);
    memset(owner.bytes(), 0x22, SIZE);
    EXPECT_EQ(owner.operateSHMNotSafe(writeHalfAndThrow, nullptr), -1);
    std::vector<unsigned char> after = image(owner);
    EXPECT_EQ(after[0], 0x77);
    EXPECT_EQ(after[SIZE / 2 - 1], 0x77);
    EXPECT_EQ(after[SIZE / 2], 0x22);
    EXPECT_EQ(semValue(RAW_KEY), 1);
}

TEST_F(IF_SHM_, CallbacksReturnTheirResultAndWriteBack)
{
    RawList owner(RAW_KEY, SIZE, true);
    int answer = 7;
    EXPECT_EQ(owner.updateOperateCommit(addOneToCounter, &answer), 7);
    EXPECT_EQ(owner.operateSHMNotSafe([](void* shm, void*) { return ((unsigned char*)shm)[0] == 1 ? 3 : -3; },
                                      nullptr),
              3);
}

TEST_F(IF_SHM_, LockKeepsConcurrentReadModifyWritesWhole)
{
    RawList owner(RAW_KEY, SIZE, true);
    constexpr int WRITERS = 4;
    constexpr int ROUNDS = 200;
    std::vector<pid_t> writers;
    for (int w = 0; w < WRITERS; ++w) {
        writers.push_back(forkChild([] {
            RawList mine(RAW_KEY, SIZE, false);
            int ok = 1;
            for (int i = 0; i < ROUNDS; ++i) {
                if (mine.updateOperateCommit(addOneToCounter, &ok) != 1) {
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

TEST_F(IF_SHM_, NonOwnerLeavesTheListOwnerRemovesIt)
{
    std::unique_ptr<RawList> owner(new RawList(RAW_KEY, SIZE, true));
    ASSERT_NE(shmget(RAW_KEY, 0, 0), 0) << "id 0 would hide the removal";
    {
        RawList other(RAW_KEY, SIZE, false);
        char text[] = "kept";
        ASSERT_EQ(other.commit2SHM(text, sizeof text), 1);
    }
    EXPECT_TRUE(segmentExists(RAW_KEY));
    EXPECT_EQ(semValue(RAW_KEY), 1);
    EXPECT_STREQ((const char*)owner->bytes(), "kept");

    owner.reset();
    EXPECT_FALSE(segmentExists(RAW_KEY));
    EXPECT_FALSE(semaphoreExists(RAW_KEY));
}

TEST_F(IF_SHM_, ListWithoutSegmentAnswersMinusOneWithoutWaiting)
{
    // Size 0 cannot be created; the set made by the non-owner stays held, so
    // any transfer that took the lock would wait forever.
    pid_t user = forkChild([] {
        RawList broken(RAW_KEY, 0, false);
        char buf[8] = {};
        bool called = false;
        int rc1 = broken.commit2SHM(buf, 0);
        int rc2 = broken.updateFromSHM(buf, sizeof buf);
        int rc3 = broken.operateSHMNotSafe([](void*, void* arg) { return *(bool*)arg = true, 1; }, &called);
        int rc4 = broken.updateOperateCommit([](void*, int, void*) { return 1; }, nullptr);
        return rc1 == -1 && rc2 == -1 && rc3 == -1 && rc4 == -1 && !called ? 0 : 1;
    });
    EXPECT_EQ(waitChild(user, 5000), 0);
    EXPECT_FALSE(segmentExists(RAW_KEY));
}

TEST_F(IF_SHM_, SegmentSmallerThanTheListIsRefusedNotOverrun)
{
    void* early = nullptr;
    ASSERT_NE(SHMTool::init_shm(RAW_KEY, 16, &early), -1);  // made first, too small
    memset(early, 0x44, 16);
    {
        RawList owner(RAW_KEY, SIZE, true);
        unsigned char buf[SIZE] = {};
        EXPECT_EQ(owner.commit2SHM(buf, SIZE), -1);
        EXPECT_EQ(owner.updateFromSHM(buf, SIZE), -1);
        EXPECT_EQ(((unsigned char*)early)[0], 0x44) << "not cleared either";
        EXPECT_EQ(semValue(RAW_KEY), 1);
    }
    SHMTool::close_shm(&early);
    EXPECT_FALSE(segmentExists(RAW_KEY)) << "the owner still removes what it found";
}
