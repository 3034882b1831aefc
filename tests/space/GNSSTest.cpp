// The fix record's byte image, its derived motion and the dead-reckoning
// prediction (the fix's age is set through its refresh time, not by waiting),
// and the fix's segment between processes.
#include "space/GNSS.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/SpaceToolGeo.h"
#include "support/ProcessHelpers.h"
#include "PackedValue.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;

std::vector<unsigned char> bytesOf(const void* p, size_t n)
{
    const unsigned char* b = static_cast<const unsigned char*>(p);
    return std::vector<unsigned char>(b, b + n);
}

GNSS fixAt(double lon, double lat, float speed, float heading, double age)
{
    GNSS g;
    g.position.longitude = lon;
    g.position.latitude = lat;
    g.speed = speed;
    g.heading = heading;
    g.latestRefreshTime = TimeTool::getPreciseTimeNow() - age;
    return g;
}

TEST(GNSS, DefaultByteImage)
{
    std::vector<unsigned char> expected(105, 0);
    expected[22] = 'N';
    expected[23] = 'E';
    // precision 99.0f, little-endian: 0x42C60000
    expected[67] = 0x00;
    expected[68] = 0x00;
    expected[69] = 0xC6;
    expected[70] = 0x42;
    GNSS g;
    EXPECT_EQ(bytesOf(&g, sizeof g), expected);
}

TEST(GNSS, FieldsLandAtTheirOffsets)
{
    GNSS g;
    g.time.second = 0x0102;
    g.time.millisecond = 0x0304;
    g.speed = 1.0f;       // 0x3F800000
    g.gnssFlags[2] = 0xAB;
    g.motion.time = 0x0506;
    const unsigned char* b = reinterpret_cast<const unsigned char*>(&g);
    EXPECT_EQ(b[18], 0x02);
    EXPECT_EQ(b[19], 0x01);
    EXPECT_EQ(b[20], 0x04);
    EXPECT_EQ(b[51], 0x3F);
    EXPECT_EQ(b[50], 0x80);
    EXPECT_EQ(b[66], 0xAB);
    EXPECT_EQ(b[71], 0x06);
    EXPECT_EQ(b[72], 0x05);
}

TEST(GNSS, RefreshMovable2DTurnsCompassHeadingIntoPlaneAngle)
{
    struct {
        float heading;
        double expected;
    } cases[] = {
        {0.0f, PI / 2},
        {45.0f, PI / 4},
        {90.0f, 0.0},                 // exactly 0: not below 0, no wrap
        {135.0f, TWO_PI - PI / 4},
        {180.0f, 3 * PI / 2},         // -pi/2 + 2*pi
        {270.0f, PI},
        {359.5f, PI / 2 + 0.5 * PI / 180},
    };
    for (const auto& c : cases) {
        GNSS g;
        g.heading = c.heading;
        g.speed = 10.0f;
        g.refreshMovable2D();
        EXPECT_NEAR(g.motion.heading, c.expected, 1e-6) << c.heading;  // float headings
        EXPECT_GE(copyOf(g.motion.heading), 0.0);
        EXPECT_LT(copyOf(g.motion.heading), TWO_PI);
        EXPECT_EQ(copyOf(g.motion.speed), 10.0);
        EXPECT_NEAR(g.motion.speedX, 10.0 * cos(c.expected), 1e-5);
        EXPECT_NEAR(g.motion.speedY, 10.0 * sin(c.expected), 1e-5);
    }
    // Either side of east: a hair past 90 degrees wraps to just below 2*pi.
    GNSS g;
    g.heading = 90.0f;
    g.refreshMovable2D();
    EXPECT_EQ(copyOf(g.motion.heading), 0.0);
    g.heading = std::nextafter(90.0f, 100.0f);
    g.refreshMovable2D();
    EXPECT_GT(copyOf(g.motion.heading), TWO_PI - 1e-5);
    EXPECT_LT(copyOf(g.motion.heading), TWO_PI);
}

TEST(GNSS, RefreshMovable2DTimeWithinTheMinute)
{
    GNSS g;
    g.time.second = 59;
    g.time.millisecond = 999;
    g.refreshMovable2D();
    EXPECT_EQ(copyOf(g.motion.time), 59999);
    g.time.second = 0;
    g.time.millisecond = 7;
    g.refreshMovable2D();
    EXPECT_EQ(copyOf(g.motion.time), 7);
}

TEST(GNSS, PredictionAfterKnownAge)
{
    const double lat = 39.9;
    struct {
        float heading;
        double east, north;  // metres after 2 s at 10 m/s
    } cases[] = {
        {90.0f, 20.0, 0.0},
        {0.0f, 0.0, 20.0},
        {180.0f, 0.0, -20.0},
        {270.0f, -20.0, 0.0},
        {45.0f, 20.0 / sqrt(2.0), 20.0 / sqrt(2.0)},
    };
    for (const auto& c : cases) {
        GNSS g = fixAt(116.0, lat, 10.0f, c.heading, 2.0);
        GeoCoordinates out;
        g.predictPresentGeoCoordinates(&out);
        // The age grows a little between stamping and predicting: allow 50 ms
        // (0.5 m at 10 m/s).
        double slack = 0.5;
        EXPECT_NEAR(out.longitude, 116.0 + SpaceToolGeo::LongitudeForMeter(lat, c.east),
                    SpaceToolGeo::LongitudeForMeter(lat, slack)) << c.heading;
        EXPECT_NEAR(out.latitude, lat + SpaceToolGeo::LatitudeForMeter(c.north),
                    SpaceToolGeo::LatitudeForMeter(slack)) << c.heading;
        if (c.heading == 90.0f) {
            EXPECT_EQ(copyOf(out.latitude), lat);  // sin(0) is exactly 0
            EXPECT_GT(copyOf(out.longitude), 116.0 + SpaceToolGeo::LongitudeForMeter(lat, 19.999));
        }
    }
}

TEST(GNSS, PredictionAfterFixedAgeIsExact)
{
    // East at 10 m/s for 2 s: cos(0) = 1 and sin(0) = 0 exactly, so 20 m east
    // and not a bit north.
    GNSS g = fixAt(116.0, 39.9, 10.0f, 90.0f, 0.0);
    GeoCoordinates out;
    g.predictGeoCoordinatesAfter(2.0, &out);
    EXPECT_EQ(copyOf(out.longitude), 116.0 + SpaceToolGeo::LongitudeForMeter(39.9, 20.0));
    EXPECT_EQ(copyOf(out.latitude), 39.9);
    // A negative age (a clock stepped back) predicts backwards.
    g.predictGeoCoordinatesAfter(-2.0, &out);
    EXPECT_EQ(copyOf(out.longitude), 116.0 + SpaceToolGeo::LongitudeForMeter(39.9, -20.0));
    // The heading is not normalised: 450 degrees drives like 90.
    g.heading = 450.0f;
    GeoCoordinates wrapped;
    g.predictGeoCoordinatesAfter(2.0, &wrapped);
    EXPECT_NEAR(wrapped.longitude, 116.0 + SpaceToolGeo::LongitudeForMeter(39.9, 20.0), 1e-12);
    g.predictGeoCoordinatesAfter(2.0, nullptr);  // no output: nothing happens
}

TEST(GNSS, PredictionWritesOnlyLongitudeAndLatitude)
{
    GNSS g = fixAt(116.0, 39.9, 0.0f, 0.0f, 5.0);
    g.position.latHemisphere = 'N';
    GeoCoordinates out;
    out.latHemisphere = 'S';
    out.lonHemisphere = 'W';
    out.altitude = 123.5;
    g.predictPresentGeoCoordinates(&out);
    EXPECT_EQ(out.latHemisphere, 'S');
    EXPECT_EQ(out.lonHemisphere, 'W');
    EXPECT_EQ(copyOf(out.altitude), 123.5);
    EXPECT_EQ(copyOf(out.longitude), 116.0);  // standing still
    EXPECT_EQ(copyOf(out.latitude), 39.9);
    // Needs no refreshMovable2D: motion stays default.
    EXPECT_EQ(copyOf(g.motion.speed), 0.0);
}

TEST(GNSS, FixCommittedInOneProcessIsReadInAnother)
{
    DevGNSSMng owner(true);
    owner.gnss = fixAt(116.25, 39.75, 12.5f, 270.0f, 0.0);
    owner.gnss.time.second = 42;
    owner.gnss.refreshMovable2D();
    ASSERT_EQ(owner.commit(), 1);
    GNSS sent = owner.gnss;

    pid_t child = forkChild([&sent] {
        DevGNSSMng reader(false);
        if (reader.update() != 1) {
            return 1;
        }
        if (memcmp(&reader.gnss, &sent, sizeof sent) != 0) {
            return 2;
        }
        // And a fix written back from this side.
        reader.gnss.speed = 3.0f;
        return reader.commit() == 1 ? 0 : 3;
    });
    ASSERT_EQ(waitChild(child), 0);
    ASSERT_EQ(owner.update(), 1);
    EXPECT_EQ(copyOf(owner.gnss.speed), 3.0f);
    EXPECT_EQ(copyOf(owner.gnss.position.longitude), 116.25);
}

}  // namespace
