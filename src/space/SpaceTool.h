#ifndef V2XSHM_SPACE_SPACETOOL_H
#define V2XSHM_SPACE_SPACETOOL_H

// Points and vectors in a flat right-handed plane (x east, y north).
// Angles in radians from +x, counterclockwise; a signed turning angle is
// positive to the right (clockwise). The order of operations is part of the
// contract: the local-map search depends on these exact results.
class SpaceTool {
public:
    static double DistancePoint2Point(double x1, double y1, double x2, double y2);
    // Distance from P to segment AB; the end tests are strict, so a foot of
    // the perpendicular exactly on an end point gives the line distance.
    static double DistancePoint2LineSegment(double px, double py, double ax, double ay, double bx, double by);
    // Direction from point 1 to point 2 in [0, 2*pi); NaN for equal points.
    static double AngleOfVector(double x1, double y1, double x2, double y2);
    // Signed angle from the heading at (x0, y0) to (xt, yt), in [-pi, pi];
    // 0 for the same point.
    static double AngleOfTarget(double x0, double y0, double heading, double xt, double yt);
    // Signed angle from u to w, in [-pi, pi]; opposite vectors give +pi.
    static double TurningAngle(double ux, double uy, double wx, double wy);
};

#endif
