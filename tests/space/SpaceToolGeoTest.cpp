// Geodetic geometry on the local flat earth: the fixed scale, the cosine at
// the first point's latitude and the exact order of operations, which the
// map search relies on for results identical on every unit.
#include "space/SpaceToolGeo.h"

#include <cmath>
#include <gtest/gtest.h>

#include "space/SpaceTool.h"

namespace {

constexpr double PI = 3.141592653589793;

GeoCoordinates geo(double lon, double lat)
{
    GeoCoordinates g;
    g.longitude = lon;
    g.latitude = lat;
    return g;
}

TEST(SpaceToolGeo, ScaleOfOneDegree)
{
    EXPECT_EQ(SpaceToolGeo::DistancePoint2Point(geo(116.0, 39.0), geo(116.0, 40.0)), 111195.0);
    EXPECT_EQ(SpaceToolGeo::LatitudeForMeter(111195.0), 1.0);
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2Point(geo(10.0, 60.0), geo(11.0, 60.0)), 55597.5, 1e-6);
    EXPECT_NEAR(SpaceToolGeo::LongitudeForMeter(60.0, 55597.5), 1.0, 1e-12);
    // Hemisphere letters do not change the sign.
    GeoCoordinates south = geo(116.0, 40.0);
    south.latHemisphere = 'S';
    south.lonHemisphere = 'W';
    EXPECT_EQ(SpaceToolGeo::DistancePoint2Point(geo(116.0, 39.0), south), 111195.0);
}

TEST(SpaceToolGeo, ExactOrderOfOperations)
{
    // Bit-exact against the formulas as the system defines them: a different
    // grouping of the products and quotients changes the last bits, and the
    // map search must give the same answers on every unit.
    const double lats[] = {0.0, 31.2304, 39.9042, 59.9999, -33.8688, 89.9};
    const double meters[] = {1.0, 0.37, 20.0, 123.456, -47.3};
    for (double lat : lats) {
        for (double m : meters) {
            EXPECT_EQ(SpaceToolGeo::LongitudeForMeter(lat, m), m / cos(lat * PI / 180.0) / 111195.0) << lat << " " << m;
            EXPECT_EQ(SpaceToolGeo::LatitudeForMeter(m), m / 111195.0);
            GeoCoordinates o = geo(121.4737, lat);
            GeoCoordinates p = geo(121.4737 + m * 1e-5, lat - m * 3e-6);
            double x, y;
            SpaceToolGeo::VectorInPlaneCoordinates(o, p, &x, &y);
            EXPECT_EQ(x, (p.longitude - o.longitude) * cos(o.latitude * PI / 180.0) * 111195.0);
            EXPECT_EQ(y, (p.latitude - o.latitude) * 111195.0);
        }
    }
}

TEST(SpaceToolGeo, CosineTakenAtFirstPoint)
{
    GeoCoordinates a = geo(10.0, 0.0);
    GeoCoordinates b = geo(11.0, 60.0);
    double ab = SpaceToolGeo::DistancePoint2Point(a, b);
    double ba = SpaceToolGeo::DistancePoint2Point(b, a);
    EXPECT_NEAR(ab, sqrt(111195.0 * 111195.0 + 60 * 111195.0 * 60 * 111195.0), 1e-6);
    EXPECT_NEAR(ba, sqrt(55597.5 * 55597.5 + 60 * 111195.0 * 60 * 111195.0), 1e-3);
    EXPECT_GT(ab, ba);
}

TEST(SpaceToolGeo, DistancePoint2LineSegmentProjectsAroundThePoint)
{
    GeoCoordinates p = geo(116.0, 39.9);
    double dLat = 0.001;
    // A segment due east-west north of p: the horizontal case in the plane.
    EXPECT_NEAR(SpaceToolGeo::DistancePoint2LineSegment(p, geo(115.999, 39.9 + dLat), geo(116.001, 39.9 + dLat)),
                dLat * 111195.0, 1e-6);
    // A north-south segment east of p, with p's foot beyond its north end.
    double dx = 0.001 * cos(39.9 * PI / 180.0) * 111195.0;
    double d = SpaceToolGeo::DistancePoint2LineSegment(p, geo(116.001, 39.8), geo(116.001, 39.9 - dLat));
    EXPECT_NEAR(d, sqrt(dx * dx + dLat * 111195.0 * dLat * 111195.0), 1e-6);
    // p on an end point.
    EXPECT_EQ(SpaceToolGeo::DistancePoint2LineSegment(p, p, geo(116.1, 40.0)), 0.0);
}

TEST(SpaceToolGeo, AnglesInThePlaneOfTheFirstPoint)
{
    GeoCoordinates p = geo(116.0, 39.9);
    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(116.0, 40.0)), PI / 2, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(115.9, 39.9)), PI, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfVector(p, geo(116.0, 39.8)), 3 * PI / 2, 1e-12);
    EXPECT_TRUE(std::isnan(SpaceToolGeo::AngleOfVector(p, p)));

    EXPECT_NEAR(SpaceToolGeo::AngleOfTarget(p, 0.0, geo(116.0, 40.0)), -PI / 2, 1e-12);
    EXPECT_NEAR(SpaceToolGeo::AngleOfTarget(p, PI / 2, geo(116.1, 39.9)), PI / 2, 1e-12);
    EXPECT_EQ(SpaceToolGeo::AngleOfTarget(p, 1.0, p), 0.0);
    // North-east in degrees is not 45 degrees in the plane: the longitude
    // shrinks with the cosine of the latitude.
    double a = SpaceToolGeo::AngleOfVector(p, geo(116.001, 39.901));
    EXPECT_NEAR(a, atan2(1.0, cos(39.9 * PI / 180.0)), 1e-9);
}

TEST(SpaceToolGeo, NearThePoleLongitudeGrowsWithoutBound)
{
    EXPECT_GT(SpaceToolGeo::LongitudeForMeter(89.999, 1000.0), 500.0);
    double atPole = SpaceToolGeo::LongitudeForMeter(90.0, 1.0);
    EXPECT_GT(std::fabs(atPole), 1e9);  // cos(pi/2) is about 6e-17, not 0
}

}  // namespace
