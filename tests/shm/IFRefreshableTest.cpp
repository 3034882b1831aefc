#include "shm/IFRefreshable.h"

#include <gtest/gtest.h>
#include <limits>

#include "shm/TimeTool.h"

TEST(IF_Refreshable, AgeComparisonIsStrict)
{
    const double INF = std::numeric_limits<double>::infinity();
    double now = TimeTool::getPreciseTimeNow();
    struct {
        double stamp, limit;
        bool over;
    } cases[] = {
        {now - 5.0, 4.5, true},
        {now - 5.0, 5.5, false},
        {now - 0.01, 0.0, true},    // any measurable age is over 0
        {now + 100.0, 0.0, false},  // a stamp ahead of the clock: negative age
        {now + 100.0, -50.0, false},
        {0.0, 10.0, true},          // never refreshed
        {-INF, INF, false},         // age exactly at the limit is still fresh
        {INF, -INF, false},
        {-INF, 1e300, true},
    };
    for (const auto& c : cases) {
        IF_Refreshable rec;
        rec.latestRefreshTime = c.stamp;
        EXPECT_EQ(rec.isPreciseOverTime(c.limit), c.over) << "stamp " << c.stamp << " limit " << c.limit;
    }
}
