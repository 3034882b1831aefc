#include "space/SpaceToolGeo.h"

#include <cmath>

#include "space/SpaceTool.h"

namespace {
constexpr double PI = 3.141592653589793;
}

void SpaceToolGeo::VectorInPlaneCoordinates(GeoCoordinates origin, GeoCoordinates point, double* x, double* y)
{
    *x = (point.longitude - origin.longitude) * cos(origin.latitude * PI / 180.0) * METERS_PER_DEGREE;
    *y = (point.latitude - origin.latitude) * METERS_PER_DEGREE;
}

double SpaceToolGeo::LongitudeForMeter(double latitude, double meters)
{
    return meters / cos(latitude * PI / 180.0) / METERS_PER_DEGREE;
}

double SpaceToolGeo::LatitudeForMeter(double meters)
{
    return meters / METERS_PER_DEGREE;
}

double SpaceToolGeo::DistancePoint2Point(GeoCoordinates a, GeoCoordinates b)
{
    double x, y;
    VectorInPlaneCoordinates(a, b, &x, &y);
    return sqrt(x * x + y * y);
}

double SpaceToolGeo::DistancePoint2LineSegment(GeoCoordinates p, GeoCoordinates a, GeoCoordinates b)
{
    double xa, ya, xb, yb;
    VectorInPlaneCoordinates(p, a, &xa, &ya);
    VectorInPlaneCoordinates(p, b, &xb, &yb);
    return SpaceTool::DistancePoint2LineSegment(0.0, 0.0, xa, ya, xb, yb);
}

double SpaceToolGeo::AngleOfVector(GeoCoordinates a, GeoCoordinates b)
{
    double x, y;
    VectorInPlaneCoordinates(a, b, &x, &y);
    return SpaceTool::AngleOfVector(0.0, 0.0, x, y);
}

double SpaceToolGeo::AngleOfTarget(GeoCoordinates p, double heading, GeoCoordinates t)
{
    double x, y;
    VectorInPlaneCoordinates(p, t, &x, &y);
    return SpaceTool::AngleOfTarget(0.0, 0.0, heading, x, y);
}
