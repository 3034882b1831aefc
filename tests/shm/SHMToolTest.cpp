#include "shm/SHMTool.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

#include "ShmTestSupport.h"
#include "support/ProcessHelpers.h"

class SHMTool_ : public ::testing::Test {
protected:
    void TearDown() override { removeIpc(RAW_KEY); }
};

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

TEST_F(SHMTool_, LockHolderKilledLeavesTheSemaphoreFree)
{
    int semId = -1;
    SHMTool::createSem(RAW_KEY, &semId);
    Signal locked;
    pid_t holder = forkChild([&] {
        SHMTool::semaphore_p(semId);
        locked.post();
        return pause();
    });
    ASSERT_TRUE(locked.wait());
    EXPECT_EQ(semValue(RAW_KEY), 0);
    kill(holder, SIGKILL);
    EXPECT_EQ(waitChild(holder), 128 + SIGKILL);
    EXPECT_EQ(semValue(RAW_KEY), 1);
}
