#include "space/SpaceTool.h"

#include <cmath>

namespace {
constexpr double TWO_PI = 6.283185307179586;
}

double SpaceTool::DistancePoint2Point(double x1, double y1, double x2, double y2)
{
    return sqrt(pow(x2 - x1, 2.0) + pow(y2 - y1, 2.0));
}

double SpaceTool::DistancePoint2LineSegment(double px, double py, double ax, double ay, double bx, double by)
{
    double dA = DistancePoint2Point(px, py, ax, ay);
    double dB = DistancePoint2Point(px, py, bx, by);
    if (ax == bx && ay == by) {
        return dA;
    }
    if (dA == 0.0 || dB == 0.0) {
        return 0.0;
    }
    double a, b, c;
    if (ay == by) {
        a = 0.0;
        b = 1.0;
        c = -ay;
    } else {
        a = 1.0;
        b = (ax - bx) / (by - ay);
        c = (ax * by - ay * bx) / (ay - by);
    }
    double dLine = fabs(a * px + b * py + c) / sqrt(a * a + b * b);
    if ((py - ay) * (by - ay) + (px - ax) * (bx - ax) < 0.0) {
        return dA;
    }
    if ((py - by) * (ay - by) + (px - bx) * (ax - bx) < 0.0) {
        return dB;
    }
    return dLine;
}

double SpaceTool::AngleOfVector(double x1, double y1, double x2, double y2)
{
    double theta = acos((x2 - x1) / DistancePoint2Point(x1, y1, x2, y2));
    if (y2 - y1 < 0.0) {
        theta = TWO_PI - theta;
    }
    if (theta < 0.0) {
        theta += TWO_PI;
    }
    return theta;
}

double SpaceTool::TurningAngle(double ux, double uy, double wx, double wy)
{
    double lenU = sqrt(ux * ux + uy * uy);
    double lenW = sqrt(wx * wx + wy * wy);
    double s = (wx * uy - wy * ux) / lenW / lenU;
    double c = (wx * ux + wy * uy) / lenW / lenU;
    if (c > 1.0) {
        c = 1.0;
    } else if (c < -1.0) {
        c = -1.0;
    }
    return s < 0.0 ? -acos(c) : acos(c);
}

double SpaceTool::AngleOfTarget(double x0, double y0, double heading, double xt, double yt)
{
    if (x0 == xt && y0 == yt) {
        return 0.0;
    }
    return TurningAngle(cos(heading), sin(heading), xt - x0, yt - y0);
}
