#include "v2xshm-unit/FixPush.h"

#include <cmath>
#include <sys/time.h>

#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"

namespace {

// The time within the minute now, in ms, as a receiver would report it.
int msWithinMinuteNow()
{
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return (int)((tv.tv_sec % 60) * 1000 + tv.tv_usec / 1000);
}

}  // namespace

FixFault checkFix(const FixReading& r)
{
    // Written so that NaN fails every test.
    if (!(r.longitude >= -180.0 && r.longitude <= 180.0)) {
        return FIX_LONGITUDE;
    }
    if (!(r.latitude >= -90.0 && r.latitude <= 90.0)) {
        return FIX_LATITUDE;
    }
    if (!(r.speed >= 0.0 && std::isfinite((float)r.speed))) {
        return FIX_SPEED;
    }
    float h = (float)r.heading;
    if (!(h >= 0.0f && h < 360.0f)) {
        return FIX_HEADING;
    }
    if (r.timeMs && !(*r.timeMs >= 0.0 && *r.timeMs <= 59999.0 && *r.timeMs == std::floor(*r.timeMs))) {
        return FIX_TIME;
    }
    if (r.precision && !(*r.precision >= 0.0 && std::isfinite((float)*r.precision))) {
        return FIX_PRECISION;
    }
    return FIX_OK;
}

int makeFix(const FixReading& r, GNSS* out)
{
    if (out == nullptr || checkFix(r) != FIX_OK) {
        return -1;
    }
    GNSS fix;
    fix.position.longitude = r.longitude;
    fix.position.latitude = r.latitude;
    fix.position.lonHemisphere = r.longitude < 0.0 ? 'W' : 'E';
    fix.position.latHemisphere = r.latitude < 0.0 ? 'S' : 'N';
    fix.speed = (float)r.speed;
    fix.heading = (float)r.heading;
    if (r.precision) {
        fix.precision = (float)*r.precision;
    }
    int ms = r.timeMs ? (int)*r.timeMs : msWithinMinuteNow();
    fix.time.second = (int16_t)(ms / 1000);
    fix.time.millisecond = (int16_t)(ms % 1000);
    fix.refreshTime();
    fix.refreshMovable2D();
    *out = fix;
    return 1;
}

int pushFix(const FixReading& reading, DevGNSSMng* gnss, VehTraceMng* trace, GNSS* stored)
{
    GNSS fix;
    if (gnss == nullptr || trace == nullptr || makeFix(reading, &fix) != 1) {
        return -1;
    }
    if (stored != nullptr) {
        *stored = fix;
    }
    gnss->gnss = fix;
    if (gnss->commit() != 1) {
        return -2;
    }
    if (trace->operateSHMNotSafe(VehTraceMng::insertOneGNSS2Trace, &fix) != 1) {
        return -3;
    }
    return trace->update() == 1 ? 1 : -4;
}
