#ifndef V2XSHM_SHM_TIMETOOL_H
#define V2XSHM_SHM_TIMETOOL_H

// Wall-clock time as seconds since the epoch with microsecond resolution.
// Every freshness decision of the system compares such values; the clock is
// the adjustable wall clock, so a clock step changes all ages at once.
class TimeTool {
public:
    static double getPreciseTimeNow();
    // Seconds from t to now (negative when t lies in the future).
    static double getPreciseTimeDiff2Now(double t);
};

#endif
