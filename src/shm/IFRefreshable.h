#ifndef V2XSHM_SHM_IFREFRESHABLE_H
#define V2XSHM_SHM_IFREFRESHABLE_H

#include <cstddef>

#pragma pack(push, 1)
// First field of every record that remembers when it was last refreshed.
// No virtual members, so derived records stay plain byte images that are
// copied as they are between processes.
class IF_Refreshable {
public:
    IF_Refreshable() : latestRefreshTime(0.0) {}

    // Stamps the record with the current wall-clock time.
    void refreshTime();
    // Seconds since the last refresh.
    double getPreciseTimeDiff() const;
    double getLatestRefreshTime() const { return latestRefreshTime; }
    // True when the age is strictly greater than `seconds`.
    bool isPreciseOverTime(double seconds) const;

    double latestRefreshTime;  // seconds since the epoch; 0.0 = never refreshed
};
#pragma pack(pop)
static_assert(sizeof(IF_Refreshable) == 8, "shared layout changed");
static_assert(offsetof(IF_Refreshable, latestRefreshTime) == 0, "shared layout changed");

#endif
