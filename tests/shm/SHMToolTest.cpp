#include "shm/SHMTool.h"

#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

#include "ShmTestSupport.h"
#include "support/ProcessHelpers.h"

class SHMTool_ : public ::testing::Test {
protected:
    void TearDown() override { removeIpc(RAW_KEY); }
};

TEST_F(SHMTool_, ExistingSegmentIsAttachedWhateverSizeIsAsked)
{
    void* first = nullptr;
    void* second = nullptr;
    int id = SHMTool::init_shm(RAW_KEY, 100, &first);
    ASSERT_GT(id, 0);
    ASSERT_NE(first, (void*)-1);
    memcpy(first, "shared", 7);

    EXPECT_EQ(SHMTool::init_shm(RAW_KEY, 4096, &second), id);
    ASSERT_NE(second, (void*)-1);
    EXPECT_EQ(segmentSize(RAW_KEY), 100) << "the first creator fixes the size";
    EXPECT_STREQ((const char*)second, "shared");

    SHMTool::close_shm(&first);
    SHMTool::close_shm(&second);
}

TEST_F(SHMTool_, CleanZeroesExactlyTheGivenSizeAndIgnoresNull)
{
    unsigned char buf[8];
    memset(buf, 0xAA, sizeof buf);
    void* addr = buf;
    SHMTool::clean_shm(&addr, 5);
    const unsigned char expected[8] = {0, 0, 0, 0, 0, 0xAA, 0xAA, 0xAA};
    EXPECT_EQ(memcmp(buf, expected, sizeof buf), 0);

    void* none = nullptr;
    SHMTool::clean_shm(&none, 5);  // must not touch anything
}

TEST_F(SHMTool_, DeleteRemovesOnlyAnExistingSegmentWithIdAboveZero)
{
    SHMTool::delete_shm(RAW_KEY);  // no segment: nothing happens
    EXPECT_FALSE(segmentExists(RAW_KEY));

    void* addr = nullptr;
    ASSERT_GT(SHMTool::init_shm(RAW_KEY, 64, &addr), 0);
    SHMTool::close_shm(&addr);
    SHMTool::delete_shm(RAW_KEY);
    EXPECT_FALSE(segmentExists(RAW_KEY));

    // Id 0 stands for "absent": such a segment is left in place.
    if (shmget(ID0_KEY, 0, 0) != 0) {
        GTEST_SKIP() << "id 0 was taken before the run (not a fresh IPC namespace)";
    }
    SHMTool::delete_shm(ID0_KEY);
    EXPECT_TRUE(segmentExists(ID0_KEY));
}

TEST_F(SHMTool_, SemaphoreOpenedBeforeCreationStartsHeldAndCreateFreesIt)
{
    int opened = SHMTool::getSem(RAW_KEY);
    ASSERT_GE(opened, 0);
    EXPECT_EQ(semValue(RAW_KEY), 0);

    int created = -1;
    EXPECT_EQ(SHMTool::createSem(RAW_KEY, &created), 1);
    EXPECT_EQ(created, opened) << "same key, same set";
    EXPECT_EQ(semValue(RAW_KEY), 1);

    EXPECT_EQ(SHMTool::semaphore_p(created), 1);
    EXPECT_EQ(semValue(RAW_KEY), 0);
    EXPECT_EQ(SHMTool::semaphore_v(created), 1);
    EXPECT_EQ(semValue(RAW_KEY), 1);

    EXPECT_EQ(SHMTool::del_semvalue(created), 1);
    EXPECT_FALSE(semaphoreExists(RAW_KEY));
}

TEST_F(SHMTool_, FailuresReturnMinusOneWithTheirMessages)
{
    // A stale id: the set is gone.
    int semId = -1;
    SHMTool::createSem(RAW_KEY, &semId);
    SHMTool::del_semvalue(semId);

    EXPECT_EQ(SHMTool::set_semvalue(semId), -1);

    ::testing::internal::CaptureStderr();
    EXPECT_EQ(SHMTool::semaphore_p(semId), -1);
    EXPECT_EQ(SHMTool::semaphore_v(semId), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "semaphore_p failed\nsemaphore_v failed\n");

    ::testing::internal::CaptureStdout();
    EXPECT_EQ(SHMTool::del_semvalue(semId), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Failed to delete semaphore\n");
}

TEST_F(SHMTool_, LockHolderKilledLeavesTheSemaphoreFree)
{
    int semId = -1;
    SHMTool::createSem(RAW_KEY, &semId);
    Signal locked;
    pid_t holder = forkChild([&] {
        SHMTool::semaphore_p(semId);
        locked.post();
        pause();
        return 0;
    });
    ASSERT_TRUE(locked.wait());
    EXPECT_EQ(semValue(RAW_KEY), 0);
    kill(holder, SIGKILL);
    EXPECT_EQ(waitChild(holder), 128 + SIGKILL);
    EXPECT_EQ(semValue(RAW_KEY), 1);
    SHMTool::del_semvalue(semId);
}

TEST_F(SHMTool_, PWaitsForTheHolderAndForTheOwnersInit)
{
    int semId = SHMTool::getSem(RAW_KEY);  // a non-owner first: value 0
    pid_t waiter = forkChild([&] {
        if (SHMTool::semaphore_p(semId) != 1) {
            return 1;
        }
        return SHMTool::semaphore_v(semId) == 1 ? 0 : 2;
    });
    EXPECT_TRUE(stillRunningAfter(waiter, 200)) << "P must block until the owner sets the value";
    int created = -1;
    SHMTool::createSem(RAW_KEY, &created);
    EXPECT_EQ(waitChild(waiter), 0);
    EXPECT_EQ(semValue(RAW_KEY), 1);
}

namespace {
void ignoreSignal(int) {}
}  // namespace

TEST_F(SHMTool_, InterruptedPFailsWithoutTakingTheLock)
{
    int semId = SHMTool::getSem(RAW_KEY);  // held (0) until created
    Signal ready;
    pid_t waiter = forkChild([&] {
        struct sigaction sa = {};
        sa.sa_handler = ignoreSignal;  // no SA_RESTART: semop sees EINTR
        sigaction(SIGUSR1, &sa, nullptr);
        ready.post();
        return SHMTool::semaphore_p(semId) == -1 ? 0 : 1;
    });
    ASSERT_TRUE(ready.wait());
    ASSERT_TRUE(stillRunningAfter(waiter, 300));
    kill(waiter, SIGUSR1);
    EXPECT_EQ(waitChild(waiter), 0);
    EXPECT_EQ(semValue(RAW_KEY), 0) << "no retry, no lock taken or given";
}
