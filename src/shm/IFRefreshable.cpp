#include "shm/IFRefreshable.h"

#include "shm/TimeTool.h"

void IF_Refreshable::refreshTime()
{
    latestRefreshTime = TimeTool::getPreciseTimeNow();
}

double IF_Refreshable::getPreciseTimeDiff() const
{
    return TimeTool::getPreciseTimeNow() - latestRefreshTime;
}

bool IF_Refreshable::isPreciseOverTime(double seconds) const
{
    return getPreciseTimeDiff() > seconds;
}
