// Plane geometry: both sides of every strict comparison, the wrap at 2*pi,
// the clamp of the cosine and the special line for horizontal segments.
#include "space/SpaceTool.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr double PI = 3.141592653589793;
constexpr double TWO_PI = 6.283185307179586;

struct SegmentCase {
    const char* name;
    double px, py, ax, ay, bx, by;
    double expected;
};

TEST(SpaceTool, DistancePoint2Point)
{
    EXPECT_EQ(SpaceTool::DistancePoint2Point(1, 2, 4, 6), 5.0);
    EXPECT_EQ(SpaceTool::DistancePoint2Point(4, 6, 1, 2), 5.0);
    EXPECT_EQ(SpaceTool::DistancePoint2Point(-3, 7, -3, 7), 0.0);
}

TEST(SpaceTool, DistancePoint2LineSegmentAllShapesAndFeet)
{
    const double r50 = sqrt(50.0);
    const SegmentCase cases[] = {
        // Degenerate segment: distance to its one point.
        {"degenerate", 3, 4, 0, 0, 0, 0, 5.0},
        {"degenerate on point", 0, 0, 0, 0, 0, 0, 0.0},
        // On an end point: 0 at once.
        {"on A", 2, 0, 2, 0, 9, 0, 0.0},
        {"on B", 9, 0, 2, 0, 9, 0, 0.0},
        // Horizontal segment (the special line y = ay; the general formula
        // would divide by zero).
        {"horizontal inside", 5, 3, 0, 0, 10, 0, 3.0},
        {"horizontal inside below", 5, -3, 0, 2, 10, 2, 5.0},
        {"horizontal foot on A", 0, 3, 0, 0, 10, 0, 3.0},
        {"horizontal foot on B", 10, -3, 0, 0, 10, 0, 3.0},
        {"horizontal behind A", -3, 4, 0, 0, 10, 0, 5.0},
        {"horizontal beyond B", 13, 4, 0, 0, 10, 0, 5.0},
        {"horizontal reversed, beyond", -3, 4, 10, 0, 0, 0, 5.0},
        {"on the line beyond B", 12, 0, 0, 0, 10, 0, 2.0},
        // Vertical segment (general formula with b = 0).
        {"vertical inside", 3, 5, 0, 0, 0, 10, 3.0},
        {"vertical foot on A", -3, 0, 0, 0, 0, 10, 3.0},
        {"vertical behind A", 4, -3, 0, 0, 0, 10, 5.0},
        {"vertical beyond B", 4, 13, 0, 0, 0, 10, 5.0},
        {"vertical reversed, behind", 4, 13, 0, 10, 0, 0, 5.0},
        // Slanted.
        {"slanted inside", 0, 10, 0, 0, 10, 10, r50},
        {"slanted behind A", -1, -2, 0, 0, 10, 10, sqrt(5.0)},
        {"slanted beyond B", 12, 11, 0, 0, 10, 10, sqrt(5.0)},
    };
    for (const SegmentCase& c : cases) {
        double d = SpaceTool::DistancePoint2LineSegment(c.px, c.py, c.ax, c.ay, c.bx, c.by);
        EXPECT_NEAR(d, c.expected, 1e-12) << c.name;
    }
}

TEST(SpaceTool, DistancePoint2LineSegmentJustBeyondEitherEnd)
{
    // Just behind A / beyond B the end-point distance is taken, which is
    // larger than the line distance; exactly at the foot both agree.
    const double eps = 1e-3;
    EXPECT_DOUBLE_EQ(SpaceTool::DistancePoint2LineSegment(-eps, 3, 0, 0, 10, 0), sqrt(9.0 + eps * eps));
    EXPECT_DOUBLE_EQ(SpaceTool::DistancePoint2LineSegment(eps, 3, 0, 0, 10, 0), 3.0);
    EXPECT_DOUBLE_EQ(SpaceTool::DistancePoint2LineSegment(10 + eps, 3, 0, 0, 10, 0), sqrt(9.0 + eps * eps));
    EXPECT_DOUBLE_EQ(SpaceTool::DistancePoint2LineSegment(10 - eps, 3, 0, 0, 10, 0), 3.0);
}

TEST(SpaceTool, AngleOfVectorQuadrantsAndWrap)
{
    struct {
        double x1, y1, x2, y2, expected;
    } cases[] = {
        {0, 0, 1, 0, 0.0},
        {0, 0, 0, 1, PI / 2},
        {0, 0, -1, 0, PI},
        {0, 0, 0, -1, 3 * PI / 2},
        {2, 3, 3, 4, PI / 4},
        {2, 3, 3, 2, TWO_PI - PI / 4},
        // Either side of the wrap at 2*pi: just above the +x axis is near 0,
        // just below is near 2*pi, never 2*pi itself or negative.
        {0, 0, 1, 1e-3, atan(1e-3)},
        {0, 0, 1, -1e-3, TWO_PI - atan(1e-3)},
    };
    for (const auto& c : cases) {
        double a = SpaceTool::AngleOfVector(c.x1, c.y1, c.x2, c.y2);
        EXPECT_NEAR(a, c.expected, 1e-12) << c.x2 << "," << c.y2;
        EXPECT_GE(a, 0.0);
        EXPECT_LT(a, TWO_PI);
    }
    // A y difference of -0.0 is not below 0.
    EXPECT_EQ(SpaceTool::AngleOfVector(0, 0, 1, -0.0), 0.0);
    // Coincident points: no guard, NaN.
    EXPECT_TRUE(std::isnan(SpaceTool::AngleOfVector(5, 5, 5, 5)));
}

TEST(SpaceTool, TurningAngleSignAndOpposite)
{
    struct {
        double ux, uy, wx, wy, expected;
    } cases[] = {
        {1, 0, 1, 0, 0.0},
        {1, 0, 0, 1, -PI / 2},   // counterclockwise: to the left
        {1, 0, 0, -1, PI / 2},   // clockwise: to the right
        {1, 0, -1, 0, PI},       // opposite: +pi
        {0, 2, -3, 0, -PI / 2},  // lengths do not matter
        {1, 0, 1, 1, -PI / 4},
        // Either side of the wrap at +-pi.
        {1, 0, -1, 1e-3, -(PI - atan(1e-3))},
        {1, 0, -1, -1e-3, PI - atan(1e-3)},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(SpaceTool::TurningAngle(c.ux, c.uy, c.wx, c.wy), c.expected, 1e-12)
            << c.ux << "," << c.uy << " -> " << c.wx << "," << c.wy;
    }
}

TEST(SpaceTool, TurningAngleClampsRoundingBeyondOne)
{
    // For these vectors the cosine rounds to 1 + 2^-52 and -1 - 2^-52: without
    // the clamp acos would give NaN.
    EXPECT_EQ(SpaceTool::TurningAngle(2, 3, 2, 3), 0.0);
    EXPECT_EQ(SpaceTool::TurningAngle(-5.338310994848547, -5.382669169180314, 5.338310994848547, 5.382669169180314), PI);
}

TEST(SpaceTool, AngleOfTargetRelativeToHeading)
{
    struct {
        double x0, y0, heading, xt, yt, expected;
    } cases[] = {
        {0, 0, 0, 5, 0, 0.0},
        {0, 0, 0, 0, 5, -PI / 2},
        {0, 0, 0, 0, -5, PI / 2},
        {1, 1, PI / 2, 2, 1, PI / 2},        // heading north, target east: right
        {1, 1, PI / 2, 0, 1, -PI / 2},
        {0, 0, 3 * PI / 2, 0, -1, 0.0},      // heading south, target south
        {0, 0, TWO_PI - 1e-3, 1, 0, -1e-3},  // heading just right of east
        {0, 0, 1e-3, 1, 0, 1e-3},            // heading just left of east
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(SpaceTool::AngleOfTarget(c.x0, c.y0, c.heading, c.xt, c.yt), c.expected, 1e-9)
            << c.heading << " to " << c.xt << "," << c.yt;
    }
    // Same point: 0, not NaN.
    EXPECT_EQ(SpaceTool::AngleOfTarget(3, 4, 1.0, 3, 4), 0.0);
}

}  // namespace
