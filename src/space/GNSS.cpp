#include "space/GNSS.h"

#include <cmath>
#include <cstring>

#include "space/SpaceToolGeo.h"

namespace {
constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;
}

GNSS::GNSS() : speed(0.0f), heading(0.0f), gnssValue1(0.0f), gnssValue2(0.0f), precision(99.0f)
{
    memset(gnssFlags, 0, sizeof gnssFlags);
}

void GNSS::refreshMovable2D()
{
    motion.time = (uint16_t)(time.second * 1000 + time.millisecond);
    double h = PI / 2.0 - heading * PI / 180.0;
    if (h < 0.0) {
        h += TWO_PI;
    }
    motion.heading = h;
    motion.speed = speed;
    motion.speedX = speed * cos(h);
    motion.speedY = speed * sin(h);
}

void GNSS::predictPresentGeoCoordinates(GeoCoordinates* out)
{
    predictGeoCoordinatesAfter(getPreciseTimeDiff(), out);
}

void GNSS::predictGeoCoordinatesAfter(double dt, GeoCoordinates* out) const
{
    if (out == nullptr) {
        return;
    }
    // Not normalised: only its sine and cosine are used.
    double a = PI / 2.0 - heading * PI / 180.0;
    double east = speed * cos(a) * dt;
    double north = speed * sin(a) * dt;
    double lon = position.longitude;
    double lat = position.latitude;
    out->longitude = lon + SpaceToolGeo::LongitudeForMeter(lat, east);
    out->latitude = lat + SpaceToolGeo::LatitudeForMeter(north);
}
