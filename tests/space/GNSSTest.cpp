// The fix record's derived motion and the dead-reckoning
// prediction (the fix's age is set through its refresh time, not by waiting).
#include "space/GNSS.h"

#include <cmath>
#include <gtest/gtest.h>

#include "shm/TimeTool.h"
#include "space/SpaceToolGeo.h"
#include "support/ByteImage.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;

TEST(GNSS, RefreshMovable2DTurnsCompassHeadingIntoPlaneAngle)
{
    struct { float heading; double expected; int second, millisecond; } cases[] = {
        {0.0f, PI / 2, 59, 999}, {45.0f, PI / 4, 0, 7}, {90.0f, 0.0, 1, 0} /* exactly 0: not below 0, no wrap */,
        {std::nextafter(90.0f, 100.0f), TWO_PI, 0, 0} /* a hair past east: just below 2*pi */,
        {135.0f, TWO_PI - PI / 4, 0, 0}, {180.0f, 3 * PI / 2, 0, 0}, {270.0f, PI, 0, 0},
        {359.5f, PI / 2 + 0.5 * PI / 180, 0, 0},
    };
    for (const auto& c : cases) {
        GNSS g;
        g.heading = c.heading, g.speed = 10.0f;
        g.time.second = (int16_t)c.second, g.time.millisecond = (int16_t)c.millisecond;
        g.refreshMovable2D();
        double h = g.motion.heading;
        EXPECT_NEAR(h, c.expected, 1e-6) << c.heading;  // float headings
        EXPECT_TRUE(h >= 0.0 && h < TWO_PI) << c.heading;
        EXPECT_EQ(copyOf(g.motion.speed), 10.0);
        EXPECT_NEAR(g.motion.speedX, 10.0 * cos(c.expected), 1e-5) << c.heading;
        EXPECT_NEAR(g.motion.speedY, 10.0 * sin(c.expected), 1e-5) << c.heading;
        EXPECT_EQ(copyOf(g.motion.time), c.second * 1000 + c.millisecond) << "ms within the minute";
    }
}

TEST(GNSS, PredictionDrivesStraightOnForTheFixAge)
{
    const double lat = 39.9;
    struct { float heading; double age, east, north; } cases[] = {  // seconds; metres at 10 m/s
        {90.0f, 2.0, 20.0, 0.0}, {0.0f, 2.0, 0.0, 20.0}, {180.0f, 2.0, 0.0, -20.0}, {270.0f, 2.0, -20.0, 0.0},
        {45.0f, 2.0, 20.0 / sqrt(2.0), 20.0 / sqrt(2.0)}, {450.0f, 2.0, 20.0, 0.0} /* not normalised */,
        {90.0f, -2.0, -20.0, 0.0} /* a clock stepped back predicts backwards */,
    };
    for (const auto& c : cases) {
        GNSS g;
        g.position.longitude = 116.0, g.position.latitude = lat, g.speed = 10.0f, g.heading = c.heading;
        g.latestRefreshTime = TimeTool::getPreciseTimeNow() - c.age;
        GeoCoordinates fixed, present;
        fixed.latHemisphere = 'S', fixed.altitude = 123.5;  // only longitude and latitude are written
        g.predictGeoCoordinatesAfter(c.age, &fixed);
        g.predictPresentGeoCoordinates(&present);
        EXPECT_NEAR(fixed.longitude, 116.0 + SpaceToolGeo::LongitudeForMeter(lat, c.east), 1e-12) << c.heading;
        EXPECT_NEAR(fixed.latitude, lat + SpaceToolGeo::LatitudeForMeter(c.north), 1e-12) << c.heading;
        EXPECT_TRUE(fixed.latHemisphere == 'S' && fixed.altitude == 123.5);
        // The age grows a little between stamping and predicting: allow 0.5 m.
        EXPECT_NEAR(present.longitude, fixed.longitude, SpaceToolGeo::LongitudeForMeter(lat, 0.5)) << c.heading;
        EXPECT_NEAR(present.latitude, fixed.latitude, SpaceToolGeo::LatitudeForMeter(0.5)) << c.heading;
    }
    GNSS().predictGeoCoordinatesAfter(2.0, nullptr);  // no output: nothing happens
}

}  // namespace
