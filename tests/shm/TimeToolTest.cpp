#include "shm/TimeTool.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include "shm/TimeBase.h"
#include "support/ByteImage.h"

TEST(TimeTool, NowIsTheWallClockWithMicroseconds)
{
    struct timeval before, after;
    gettimeofday(&before, nullptr);
    double now = TimeTool::getPreciseTimeNow();
    gettimeofday(&after, nullptr);
    EXPECT_GE(now, before.tv_sec + before.tv_usec / 1e6);
    EXPECT_LE(now, after.tv_sec + after.tv_usec / 1e6);
    EXPECT_NEAR(TimeTool::getPreciseTimeDiff2Now(now + 2.5), -2.5, 0.5);
    EXPECT_EQ(freshImage<TimeBase>(), Bytes(14, 0)) << "a new time is all zeros";
}
