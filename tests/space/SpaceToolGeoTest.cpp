// Geodetic geometry on the local flat earth: the fixed scale and the cosine
// taken at the first point's latitude. (Whether host and target builds give
// the same bits is checked by geometry_table.)
#include "space/SpaceToolGeo.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr double PI = 3.141592653589793;
constexpr double M = 111195.0;  // metres per degree

GeoCoordinates geo(double lon, double lat) { GeoCoordinates g; g.longitude = lon, g.latitude = lat; return g; }

TEST(SpaceToolGeo, ScaleAndCosineOfTheFirstPoint)
{
    GeoCoordinates south = geo(116.0, 40.0);
    south.latHemisphere = 'S', south.lonHemisphere = 'W';  // the letters do not change the sign
    EXPECT_EQ(SpaceToolGeo::DistancePoint2Point(geo(116.0, 39.0), south), M);
    EXPECT_EQ(SpaceToolGeo::LatitudeForMeter(M), 1.0);
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2Point(geo(10.0, 60.0), geo(11.0, 60.0)), M / 2, 1e-6);
    EXPECT_NEAR(SpaceToolGeo::LongitudeForMeter(60.0, M / 2), 1.0, 1e-12);
    // The cosine is taken at the first point, so the distance is not symmetric.
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2Point(geo(10.0, 0.0), geo(11.0, 60.0)), M * sqrt(3601.0), 1e-6);
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2Point(geo(11.0, 60.0), geo(10.0, 0.0)), M * sqrt(3600.25), 1e-3);
    // Near the pole the longitude grows without bound: cos(pi/2) is about 6e-17.
    EXPECT_GT(SpaceToolGeo::LongitudeForMeter(89.999, 1000.0), 500.0);
    EXPECT_GT(std::fabs(SpaceToolGeo::LongitudeForMeter(90.0, 1.0)), 1e9);
}

TEST(SpaceToolGeo, SegmentAndAnglesInThePlaneOfTheFirstPoint)
{
    GeoCoordinates p = geo(116.0, 39.9);
    const double dx = 0.001 * cos(39.9 * PI / 180.0) * M;
    const double dy = 0.001 * M;
    // East-west segment north of p; north-south one east of p with p's foot
    // beyond its north end; p on an end point.
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2LineSegment(p, geo(115.999, 39.901), geo(116.001, 39.901)), dy, 1e-6);
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2LineSegment(p, geo(116.001, 39.8), geo(116.001, 39.899)),
                sqrt(dx * dx + dy * dy), 1e-6);
    EXPECT_EQ(SpaceToolGeo::DistancePoint2LineSegment(p, p, geo(116.1, 40.0)), 0.0);

    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(116.0, 40.0)), PI / 2, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(115.9, 39.9)), PI, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(116.0, 39.8)), 3 * PI / 2, 1e-12);
    // North-east in degrees is not 45 degrees in the plane.
    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(116.001, 39.901)), atan2(1.0, cos(39.9 * PI / 180.0)), 1e-9);
    EXPECT_TRUE(std::isnan(SpaceToolGeo::AngleOfVector(p, p)));
    EXPECT_NEAR(SpaceToolGeo::AngleOfTarget(p, 0.0, geo(116.0, 40.0)), -PI / 2, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfTarget(p, PI / 2, geo(116.1, 39.9)), PI / 2, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfTarget(p, 0.0, geo(116.001, 39.901)), -atan2(1.0, cos(39.9 * PI / 180.0)), 1e-9);
    EXPECT_EQ(SpaceToolGeo::AngleOfTarget(p, 1.0, p), 0.0);
}

}  // namespace
