#include "shm/SHMTool.h"

#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
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
    EXPECT_STREQ((const char*)second, "shared") << "the same segment, not a new one";
    SHMTool::close_shm(&first);
    SHMTool::close_shm(&second);
}

TEST_F(SHMTool_, DeleteRemovesOnlyAnExistingSegmentWithIdAboveZero)
{
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

TEST_F(SHMTool_, FailuresReturnMinusOneWithTheirMessages)
{
    int semId = -1;  // a stale id: the set is gone
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
}

TEST_F(SHMTool_, InterruptedPFailsWithoutTakingTheLock)
{
    int semId = SHMTool::getSem(RAW_KEY);  // held (0) until created
    Signal ready;
    pid_t waiter = forkChild([&] {
        struct sigaction sa = {};
        sa.sa_handler = [](int) {};  // no SA_RESTART: semop sees EINTR
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
