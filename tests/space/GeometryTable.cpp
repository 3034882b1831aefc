// Prints the results of every geometry function over a fixed set of inputs
// as exact bit patterns, one line per case: "<function>[<case>] <16 hex
// digits>". Run on the host and on the target, the two tables show whether
// both math libraries give the same answers; compared with the committed
// geometry-table.golden (the test geometry_golden), any change of a result.
//
//   geometry_table                  print the table
//   geometry_table --compare A B    compare two printed tables; exit 0 when
//                                   every case matches within 1 ulp (NaN
//                                   only matches NaN), 1 otherwise
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "space/GNSS.h"
#include "space/SpaceTool.h"
#include "space/SpaceToolGeo.h"

namespace {

constexpr double TWO_PI = 6.283185307179586;
using Row = std::vector<double>;

void emit(const char* name, int index, double value)
{
    uint64_t bits;
    memcpy(&bits, &value, sizeof bits);
    printf("%s[%d] %016" PRIx64 "\n", name, index, bits);
}

// A fixed pseudo-random draw from [lo, hi), the same on every platform.
double draw(uint64_t& state, double lo, double hi)
{
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return lo + (hi - lo) * ((double)(state >> 11) / 9007199254740992.0);
}

// The edge cases given, then n rows of `width` values drawn one at a time, so
// that both targets' compilers draw them in one order.
std::vector<Row> rows(uint64_t& seq, int n, int width, double lo, double hi, std::vector<Row> v)
{
    for (int i = 0; i < n * width; ++i) {
        if (i % width == 0) {
            v.emplace_back();
        }
        v.back().push_back(draw(seq, lo, hi));
    }
    return v;
}

// The hemisphere letters are set but never change a sign: the table shows it.
GeoCoordinates geo(const Row& r)
{
    GeoCoordinates g;
    g.longitude = r[0], g.latitude = r[1], g.latHemisphere = 'S', g.lonHemisphere = 'W';
    return g;
}

void printTable()
{
    uint64_t seq = 0x2545F4914F6CDD1DULL;
    std::vector<Row> t4 = rows(seq, 150, 4, -500, 500, {{0, 0, 1, 0}, {0, 0, 0, 1}, {0, 0, -1, 0}, {0, 0, 0, -1},
        {0, 0, 1, -0.0}, {0, 0, 1, 1e-3}, {0, 0, 1, -1e-3}, {0, 0, 1, 1e-9}, {0, 0, 1, -1e-9}, {5, 5, 5, 5},
        {2, 3, 2, 3}, {2, 3, -2, -3}, {1, 0, -1, 1e-9}, {1, 0, -1, -1e-9},
        {-5.338310994848547, -5.382669169180314, 5.338310994848547, 5.382669169180314},
        {1e-300, 1e-300, 2e-300, 3e-300}, {1e6, -1e6, -3e6, 7e5}});
    std::vector<Row> t6 = rows(seq, 150, 6, -300, 300, {{3, 4, 0, 0, 0, 0}, {2, 0, 2, 0, 9, 0}, {9, 0, 2, 0, 9, 0},
        {5, 3, 0, 0, 10, 0}, {0, 3, 0, 0, 10, 0}, {-3, 4, 0, 0, 10, 0}, {13, 4, 0, 0, 10, 0}, {3, 5, 0, 0, 0, 10},
        {4, -3, 0, 0, 0, 10}, {4, 13, 0, 0, 0, 10}, {0, 10, 0, 0, 10, 10}, {-1, -2, 0, 0, 10, 10},
        {12, 11, 0, 0, 10, 10}, {0.1, 0.2, 0.3, 0.7, 1.9, -2.3}});
    std::vector<Row> pts = rows(seq, 60, 2, -0.01, 0.01, {{116.0, 39.9}, {116.0, 40.0}, {115.999, 39.901},
        {116.001, 39.901}, {10.0, 0.0}, {11.0, 60.0}, {121.4737, 31.2304}, {-73.9857, 40.7484}, {151.2093, -33.8688},
        {0.0, 89.9}, {179.9999, -0.0001}, {116.0, 39.9}});
    for (size_t i = 12; i < pts.size(); ++i) {
        pts[i] = {116.0 + pts[i][0], 39.9 + pts[i][1]};  // around one town
    }

    for (size_t i = 0; i < t4.size(); ++i) {
        const Row& t = t4[i];
        emit("SpaceTool::DistancePoint2Point", i, SpaceTool::DistancePoint2Point(t[0], t[1], t[2], t[3]));
        emit("SpaceTool::AngleOfVector", i, SpaceTool::AngleOfVector(t[0], t[1], t[2], t[3]));
        emit("SpaceTool::TurningAngle", i, SpaceTool::TurningAngle(t[0], t[1], t[2], t[3]));
        double heading = std::fmod(std::fabs(t[0] + t[3]), TWO_PI);
        emit("SpaceTool::AngleOfTarget", i, SpaceTool::AngleOfTarget(t[1], t[2], heading, t[3], t[0]));
    }
    emit("SpaceTool::AngleOfTarget", 1000, SpaceTool::AngleOfTarget(3, 4, 1.0, 3, 4));
    emit("SpaceTool::AngleOfTarget", 1001, SpaceTool::AngleOfTarget(0, 0, TWO_PI - 1e-3, 1, 0));
    for (size_t i = 0; i < t6.size(); ++i) {
        const Row& t = t6[i];
        emit("SpaceTool::DistancePoint2LineSegment", i,
             SpaceTool::DistancePoint2LineSegment(t[0], t[1], t[2], t[3], t[4], t[5]));
    }

    int n = 0;
    for (double lat : {0.0, 31.2304, 39.9042, 60.0, -33.8688, 89.9, 89.999, 90.0, -90.0}) {
        for (double m : {1.0, 0.37, 20.0, 123.456, -47.3, 55597.5, 111195.0}) {
            emit("SpaceToolGeo::LongitudeForMeter", n, SpaceToolGeo::LongitudeForMeter(lat, m));
            emit("SpaceToolGeo::LatitudeForMeter", n++, SpaceToolGeo::LatitudeForMeter(m));
        }
    }
    for (size_t i = 0; i < pts.size(); ++i) {
        GeoCoordinates a = geo(pts[i]), b = geo(pts[(i + 1) % pts.size()]), c = geo(pts[(i + 5) % pts.size()]);
        double x, y;
        SpaceToolGeo::VectorInPlaneCoordinates(a, b, &x, &y);
        emit("SpaceToolGeo::VectorInPlaneCoordinates.x", i, x);
        emit("SpaceToolGeo::VectorInPlaneCoordinates.y", i, y);
        emit("SpaceToolGeo::DistancePoint2Point", i, SpaceToolGeo::DistancePoint2Point(a, b));
        emit("SpaceToolGeo::DistancePoint2LineSegment", i, SpaceToolGeo::DistancePoint2LineSegment(a, b, c));
        emit("SpaceToolGeo::AngleOfVector", i, SpaceToolGeo::AngleOfVector(a, b));
        emit("SpaceToolGeo::AngleOfTarget", i, SpaceToolGeo::AngleOfTarget(a, std::fmod(i * 0.7, TWO_PI), c));
    }
    emit("SpaceToolGeo::AngleOfVector", 1000, SpaceToolGeo::AngleOfVector(geo(pts[0]), geo(pts[0])));
    emit("SpaceToolGeo::AngleOfTarget", 1000, SpaceToolGeo::AngleOfTarget(geo(pts[0]), 1.0, geo(pts[0])));

    // The fix: derived motion and the prediction after a fixed age.
    n = 0;
    for (float h : {0.0f, 45.0f, 89.99f, 90.0f, 90.01f, 135.0f, 180.0f, 270.0f, 359.99f, 12.345f}) {
        for (float v : {0.0f, 10.0f, 13.89f, 0.5f}) {
            GNSS g;
            g.position.longitude = 116.3912, g.position.latitude = 39.9073, g.heading = h, g.speed = v;
            g.time.second = (int16_t)(n % 60), g.time.millisecond = (int16_t)(n * 37 % 1000);
            g.refreshMovable2D();
            emit("GNSS::refreshMovable2D.time", n, g.motion.time);
            emit("GNSS::refreshMovable2D.heading", n, g.motion.heading);
            emit("GNSS::refreshMovable2D.speedX", n, g.motion.speedX);
            emit("GNSS::refreshMovable2D.speedY", n, g.motion.speedY);
            int k = 0;
            for (double dt : {0.0, 0.1, 2.0, 1.75, 30.0}) {
                GeoCoordinates out;
                g.predictGeoCoordinatesAfter(dt, &out);
                emit("GNSS::predictGeoCoordinatesAfter.longitude", n * 10 + k, out.longitude);
                emit("GNSS::predictGeoCoordinatesAfter.latitude", n * 10 + k++, out.latitude);
            }
            ++n;
        }
    }
}

// Exponent all ones and a mantissa other than 0, whatever the sign.
bool isNaN(uint64_t bits) { return (bits << 1) > 0xFFE0000000000000ULL; }
// Bits of a double ordered like the values, so that neighbours differ by 1.
int64_t ordered(uint64_t bits) { return (bits >> 63) ? -(int64_t)(bits & 0x7FFFFFFFFFFFFFFFULL) : (int64_t)bits; }

// Compares two printed tables case by case; both list the same cases in the
// same order. 0 when all match within 1 ulp, 1 when not, 2 on a bad file.
int compareTables(const char* pathA, const char* pathB)
{
    std::ifstream a(pathA), b(pathB);
    std::string name, hexA, nameB, hexB;
    int cases = 0, identical = 0, oneUlp = 0, beyond = 0;
    while (a >> name >> hexA) {
        if (!(b >> nameB >> hexB) || nameB != name) {
            std::cout << "tables differ in their cases at case " << cases + 1 << ": " << name << "\n";
            return 1;
        }
        if (hexA.size() != 16 || hexB.size() != 16) {
            throw std::invalid_argument(name);
        }
        ++cases;
        uint64_t x = std::stoull(hexA, nullptr, 16), y = std::stoull(hexB, nullptr, 16);
        int64_t d = ordered(x) - ordered(y);
        bool same = x == y || (isNaN(x) && isNaN(y)), near = !same && !isNaN(x) && !isNaN(y) && (d == 1 || d == -1);
        identical += same, oneUlp += near, beyond += !same && !near;
        if (!same && !near && beyond <= 20) {
            std::cout << "differs: " << name << " " << hexA << " " << hexB << "\n";
        }
    }
    if (cases == 0 || !a.eof()) {
        throw std::invalid_argument(pathA);
    }
    if (b >> nameB) {
        std::cout << "tables differ in size: " << pathB << " has more than " << cases << " cases\n";
        return 1;
    }
    std::cout << cases << " cases: " << identical << " identical, " << oneUlp << " within 1 ulp, " << beyond
              << " beyond 1 ulp\n";
    return beyond == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && strcmp(argv[1], "--compare") == 0) {
        try {
            return compareTables(argv[2], argv[3]);
        } catch (const std::exception& e) {  // a file that is not a table
            std::cerr << "geometry_table: cannot read the tables (near " << e.what() << ")\n";
            return 2;
        }
    }
    if (argc != 1) {
        std::cerr << "usage: geometry_table [--compare TABLE_A TABLE_B]\n";
        return 2;
    }
    printTable();
    return 0;
}
