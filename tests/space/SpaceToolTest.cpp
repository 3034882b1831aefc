// Plane geometry: both sides of every strict comparison, the wrap at 2*pi,
// the clamp of the cosine and the special line for horizontal segments.
#include "space/SpaceTool.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;

TEST(SpaceTool, DistancePoint2LineSegmentAllShapesAndFeet)
{
    const double eps = 1e-3;
    struct { const char* name; double px, py, ax, ay, bx, by, expected; } cases[] = {
        {"degenerate", 3, 4, 0, 0, 0, 0, 5.0} /* its one point */, {"on A", 2, 0, 2, 0, 9, 0, 0.0},
        {"on B", 9, 0, 2, 0, 9, 0, 0.0},
        // Horizontal: the special line y = ay (the general one divides by zero).
        {"horizontal inside", 5, 3, 0, 0, 10, 0, 3.0}, {"horizontal inside below", 5, -3, 0, 2, 10, 2, 5.0},
        {"horizontal behind A", -3, 4, 0, 0, 10, 0, 5.0}, {"horizontal reversed, beyond", -3, 4, 10, 0, 0, 0, 5.0},
        // Just behind A / beyond B the end point is nearer than the line says.
        {"just behind A", -eps, 3, 0, 0, 10, 0, sqrt(9.0 + eps * eps)}, {"just after A", eps, 3, 0, 0, 10, 0, 3.0},
        {"just beyond B", 10 + eps, 3, 0, 0, 10, 0, sqrt(9.0 + eps * eps)},
        {"just before B", 10 - eps, 3, 0, 0, 10, 0, 3.0},
        // Vertical (the general line with b = 0) and slanted.
        {"vertical inside", 3, 5, 0, 0, 0, 10, 3.0}, {"vertical reversed, behind", 4, 13, 0, 10, 0, 0, 5.0},
        {"slanted inside", 0, 10, 0, 0, 10, 10, sqrt(50.0)}, {"slanted behind A", -1, -2, 0, 0, 10, 10, sqrt(5.0)},
        {"slanted beyond B", 12, 11, 0, 0, 10, 10, sqrt(5.0)},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(SpaceTool::DistancePoint2LineSegment(c.px, c.py, c.ax, c.ay, c.bx, c.by), c.expected, 1e-12)
            << c.name;
    }
    EXPECT_EQ(SpaceTool::DistancePoint2Point(4, 6, 1, 2), 5.0);
}

TEST(SpaceTool, AngleOfVectorQuadrantsAndWrap)
{
    struct { double x1, y1, x2, y2, expected; } cases[] = {
        {0, 0, 1, 0, 0.0}, {0, 0, 0, 1, PI / 2}, {0, 0, -1, 0, PI}, {0, 0, 0, -1, 3 * PI / 2},
        {2, 3, 3, 4, PI / 4}, {2, 3, 3, 2, TWO_PI - PI / 4},
        // Either side of the wrap: never 2*pi itself, never negative.
        {0, 0, 1, 1e-3, atan(1e-3)}, {0, 0, 1, -1e-3, TWO_PI - atan(1e-3)}, {0, 0, 1, -0.0, 0.0},
    };
    for (const auto& c : cases) {
        double a = SpaceTool::AngleOfVector(c.x1, c.y1, c.x2, c.y2);
        EXPECT_NEAR(a, c.expected, 1e-12) << c.x2 << "," << c.y2;
        EXPECT_TRUE(a >= 0.0 && a < TWO_PI) << a;
    }
    EXPECT_TRUE(std::isnan(SpaceTool::AngleOfVector(5, 5, 5, 5))) << "coincident points: no guard";
}

TEST(SpaceTool, TurningAngleSignClampAndOpposite)
{
    struct { double ux, uy, wx, wy, expected; } cases[] = {
        {1, 0, 1, 0, 0.0}, {1, 0, 0, 1, -PI / 2} /* to the left */, {1, 0, 0, -1, PI / 2} /* right */,
        {1, 0, -1, 0, PI} /* opposite: +pi */, {0, 2, -3, 0, -PI / 2}, {1, 0, 1, 1, -PI / 4},
        {1, 0, -1, 1e-3, -(PI - atan(1e-3))}, {1, 0, -1, -1e-3, PI - atan(1e-3)},
        // The cosine rounds to 1 + 2^-52 and -1 - 2^-52: without the clamp, NaN.
        {2, 3, 2, 3, 0.0}, {-5.338310994848547, -5.382669169180314, 5.338310994848547, 5.382669169180314, PI},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(SpaceTool::TurningAngle(c.ux, c.uy, c.wx, c.wy), c.expected, 1e-12)
            << c.ux << "," << c.uy << " -> " << c.wx << "," << c.wy;
    }
}

TEST(SpaceTool, AngleOfTargetRelativeToHeading)
{
    struct { double x0, y0, heading, xt, yt, expected; } cases[] = {
        {0, 0, 0, 5, 0, 0.0}, {0, 0, 0, 0, 5, -PI / 2}, {0, 0, 0, 0, -5, PI / 2},
        {1, 1, PI / 2, 2, 1, PI / 2} /* heading north, target east: right */, {1, 1, PI / 2, 0, 1, -PI / 2},
        {0, 0, 3 * PI / 2, 0, -1, 0.0}, {0, 0, TWO_PI - 1e-3, 1, 0, -1e-3}, {0, 0, 1e-3, 1, 0, 1e-3},
        {3, 4, 1.0, 3, 4, 0.0} /* same point: 0, not NaN */,
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(SpaceTool::AngleOfTarget(c.x0, c.y0, c.heading, c.xt, c.yt), c.expected, 1e-9)
            << c.heading << " to " << c.xt << "," << c.yt;
    }
}

}  // namespace
