#ifndef V2XSHM_SPACE_SPACETOOLGEO_H
#define V2XSHM_SPACE_SPACETOOLGEO_H

#include "space/IFPosition.h"

// Geographic points on a local flat earth: the second point is projected
// into a plane of metres (east x, north y) around the first at 111195.0 m per
// degree, the longitude scaled by the cosine of the first point's latitude.
// Meant for the hundreds of metres of an intersection's map.
class SpaceToolGeo {
public:
    static constexpr double METERS_PER_DEGREE = 111195.0;

    // East and north offsets of point from origin, in metres.
    static void VectorInPlaneCoordinates(GeoCoordinates origin, GeoCoordinates point, double* x, double* y);
    // Degrees of longitude spanning `meters` east-west at `latitude`.
    static double LongitudeForMeter(double latitude, double meters);
    // Degrees of latitude spanning `meters` north-south.
    static double LatitudeForMeter(double meters);
    static double DistancePoint2Point(GeoCoordinates a, GeoCoordinates b);
    static double DistancePoint2LineSegment(GeoCoordinates p, GeoCoordinates a, GeoCoordinates b);
    // Direction from a to b in radians, 0 = east, counterclockwise, [0, 2*pi).
    static double AngleOfVector(GeoCoordinates a, GeoCoordinates b);
    // Signed angle from heading (radians, same convention) at p to t;
    // positive to the right.
    static double AngleOfTarget(GeoCoordinates p, double heading, GeoCoordinates t);
};

#endif
