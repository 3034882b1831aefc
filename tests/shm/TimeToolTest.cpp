#include "shm/TimeTool.h"

#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <sys/time.h>

#include "shm/TimeBase.h"

TEST(TimeTool, NowIsTheWallClockWithMicroseconds)
{
    struct timeval before, after;
    gettimeofday(&before, nullptr);
    double now = TimeTool::getPreciseTimeNow();
    gettimeofday(&after, nullptr);
    EXPECT_GE(now, before.tv_sec + before.tv_usec / 1e6);
    EXPECT_LE(now, after.tv_sec + after.tv_usec / 1e6);
    EXPECT_NEAR(TimeTool::getPreciseTimeDiff2Now(now + 2.5), -2.5, 0.5);
}

TEST(TimeBase, ConstructionZeroesAllFourteenBytes)
{
    alignas(TimeBase) unsigned char storage[sizeof(TimeBase)];
    memset(storage, 0xAA, sizeof storage);
    new (storage) TimeBase();
    const unsigned char zeros[14] = {};
    EXPECT_EQ(memcmp(storage, zeros, sizeof zeros), 0);
}
