#include "shm/TimeTool.h"

#include <sys/time.h>

double TimeTool::getPreciseTimeNow()
{
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return (double)tv.tv_sec + (double)tv.tv_usec / 1000000.0;
}

double TimeTool::getPreciseTimeDiff2Now(double t)
{
    return getPreciseTimeNow() - t;
}
