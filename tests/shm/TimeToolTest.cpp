#include "shm/TimeTool.h"

#include <gtest/gtest.h>
#include <limits>
#include <sys/time.h>

#include "shm/IFRefreshable.h"
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

TEST(IF_Refreshable, AgeComparisonIsStrict)
{
    const double INF = std::numeric_limits<double>::infinity();
    double now = TimeTool::getPreciseTimeNow();
    struct {
        double stamp, limit;
        bool over;
    } cases[] = {
        {now - 5.0, 4.5, true}, {now - 5.0, 5.5, false},
        {now - 0.01, 0.0, true}, {now + 100.0, 0.0, false},  // any measurable age is over 0; a stamp ahead is not
        {-INF, INF, false},  // age exactly at the limit is still fresh
    };
    for (const auto& c : cases) {
        IF_Refreshable rec;
        rec.latestRefreshTime = c.stamp;
        EXPECT_EQ(rec.isPreciseOverTime(c.limit), c.over) << "stamp " << c.stamp << " limit " << c.limit;
    }
}
