#include "shm/IFRefreshable.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

#include "shm/TimeTool.h"

namespace {

// A refreshable record as the lists keep them: the stamp first, then data.
#pragma pack(push, 1)
struct Stamped : public IF_Refreshable {
    int16_t payload = 0x0102;
};
#pragma pack(pop)

}  // namespace

TEST(IF_Refreshable, AgeComparisonIsStrict)
{
    const double INF = std::numeric_limits<double>::infinity();
    double now = TimeTool::getPreciseTimeNow();
    struct Case {
        double stamp;
        double limit;
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
    for (const Case& c : cases) {
        Stamped rec;
        rec.latestRefreshTime = c.stamp;
        EXPECT_EQ(rec.isPreciseOverTime(c.limit), c.over) << "stamp " << c.stamp << " limit " << c.limit;
    }
}

TEST(IF_Refreshable, RefreshStampsNowAndAgeCountsFromIt)
{
    Stamped rec;
    EXPECT_EQ(rec.getLatestRefreshTime(), 0.0);
    double before = TimeTool::getPreciseTimeNow();
    rec.refreshTime();
    double after = TimeTool::getPreciseTimeNow();
    EXPECT_GE(rec.getLatestRefreshTime(), before);
    EXPECT_LE(rec.getLatestRefreshTime(), after);
    EXPECT_FALSE(rec.isPreciseOverTime(10.0));

    rec.latestRefreshTime = TimeTool::getPreciseTimeNow() - 30.0;
    EXPECT_NEAR(rec.getPreciseTimeDiff(), 30.0, 1.0);
    EXPECT_NEAR(TimeTool::getPreciseTimeDiff2Now(rec.getLatestRefreshTime()), 30.0, 1.0);
}

TEST(IF_Refreshable, StampIsTheFirstEightBytesOfTheRecordImage)
{
    Stamped rec;
    rec.latestRefreshTime = 1.0;
    // Host order (little-endian on the target and the test hosts).
    const unsigned char expected[10] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F, 0x02, 0x01};
    static_assert(sizeof(Stamped) == sizeof expected, "stamp then payload, no padding");
    EXPECT_EQ(memcmp(&rec, expected, sizeof expected), 0);

    Stamped copy;
    memcpy(&copy, expected, sizeof copy);
    EXPECT_EQ(copy.getLatestRefreshTime(), 1.0);
}
