// Prints the results of every geometry function over a fixed set of inputs
// as exact bit patterns, one line per case: "<function>[<case>] <16 hex
// digits>". Run on the host and on the target, the two tables show whether
// both math libraries give the same answers.
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
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "space/GNSS.h"
#include "space/SpaceTool.h"
#include "space/SpaceToolGeo.h"

namespace {

constexpr double TWO_PI = 6.283185307179586;

uint64_t bitsOf(double d)
{
    uint64_t u;
    memcpy(&u, &d, sizeof u);
    return u;
}

void emit(const std::string& name, int index, double value)
{
    printf("%s[%d] %016" PRIx64 "\n", name.c_str(), index, bitsOf(value));
}

// A fixed pseudo-random sequence, the same on every platform.
class Sequence {
public:
    double next(double lo, double hi)
    {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        double unit = (double)(state >> 11) / 9007199254740992.0;  // [0, 1)
        return lo + (hi - lo) * unit;
    }

private:
    uint64_t state = 0x2545F4914F6CDD1DULL;
};

GeoCoordinates geo(double lon, double lat)
{
    GeoCoordinates g;
    g.longitude = lon;
    g.latitude = lat;
    return g;
}

struct Plane4 {
    double a, b, c, d;
};
struct Plane6 {
    double a, b, c, d, e, f;
};

std::vector<Plane4> fourTuples(Sequence& seq)
{
    std::vector<Plane4> v = {
        {0, 0, 1, 0}, {0, 0, 0, 1}, {0, 0, -1, 0}, {0, 0, 0, -1}, {0, 0, 1, -0.0},
        {0, 0, 1, 1e-3}, {0, 0, 1, -1e-3}, {0, 0, 1, 1e-9}, {0, 0, 1, -1e-9},
        {5, 5, 5, 5}, {2, 3, 2, 3}, {2, 3, -2, -3}, {1, 0, -1, 1e-9}, {1, 0, -1, -1e-9},
        {-5.338310994848547, -5.382669169180314, 5.338310994848547, 5.382669169180314},
        {1e-300, 1e-300, 2e-300, 3e-300}, {1e6, -1e6, -3e6, 7e5},
    };
    for (int i = 0; i < 150; ++i) {
        v.push_back({seq.next(-500, 500), seq.next(-500, 500), seq.next(-500, 500), seq.next(-500, 500)});
    }
    return v;
}

std::vector<Plane6> sixTuples(Sequence& seq)
{
    std::vector<Plane6> v = {
        {3, 4, 0, 0, 0, 0},    {2, 0, 2, 0, 9, 0},   {9, 0, 2, 0, 9, 0},   {5, 3, 0, 0, 10, 0},
        {0, 3, 0, 0, 10, 0},   {-3, 4, 0, 0, 10, 0}, {13, 4, 0, 0, 10, 0}, {3, 5, 0, 0, 0, 10},
        {4, -3, 0, 0, 0, 10},  {4, 13, 0, 0, 0, 10}, {0, 10, 0, 0, 10, 10}, {-1, -2, 0, 0, 10, 10},
        {12, 11, 0, 0, 10, 10}, {0.1, 0.2, 0.3, 0.7, 1.9, -2.3},
    };
    for (int i = 0; i < 150; ++i) {
        v.push_back({seq.next(-300, 300), seq.next(-300, 300), seq.next(-300, 300), seq.next(-300, 300),
                     seq.next(-300, 300), seq.next(-300, 300)});
    }
    return v;
}

std::vector<GeoCoordinates> geoPoints(Sequence& seq)
{
    std::vector<GeoCoordinates> v = {
        geo(116.0, 39.9),  geo(116.0, 40.0),    geo(115.999, 39.901), geo(116.001, 39.901),
        geo(10.0, 0.0),    geo(11.0, 60.0),     geo(121.4737, 31.2304), geo(-73.9857, 40.7484),
        geo(151.2093, -33.8688), geo(0.0, 89.9), geo(179.9999, -0.0001), geo(116.0, 39.9),
    };
    for (int i = 0; i < 60; ++i) {
        // Drawn one by one: the order of evaluating function arguments is
        // unspecified and differs between compilers for the two targets.
        double lon = 116.0 + seq.next(-0.01, 0.01);
        double lat = 39.9 + seq.next(-0.01, 0.01);
        v.push_back(geo(lon, lat));
    }
    return v;
}

void printTable()
{
    Sequence seq;
    std::vector<Plane4> t4 = fourTuples(seq);
    std::vector<Plane6> t6 = sixTuples(seq);
    std::vector<GeoCoordinates> pts = geoPoints(seq);

    for (size_t i = 0; i < t4.size(); ++i) {
        const Plane4& t = t4[i];
        emit("SpaceTool::DistancePoint2Point", i, SpaceTool::DistancePoint2Point(t.a, t.b, t.c, t.d));
        emit("SpaceTool::AngleOfVector", i, SpaceTool::AngleOfVector(t.a, t.b, t.c, t.d));
        emit("SpaceTool::TurningAngle", i, SpaceTool::TurningAngle(t.a, t.b, t.c, t.d));
        double heading = std::fmod(std::fabs(t.a + t.d), TWO_PI);
        emit("SpaceTool::AngleOfTarget", i, SpaceTool::AngleOfTarget(t.b, t.c, heading, t.d, t.a));
    }
    emit("SpaceTool::AngleOfTarget", 1000, SpaceTool::AngleOfTarget(3, 4, 1.0, 3, 4));
    emit("SpaceTool::AngleOfTarget", 1001, SpaceTool::AngleOfTarget(0, 0, TWO_PI - 1e-3, 1, 0));
    for (size_t i = 0; i < t6.size(); ++i) {
        const Plane6& t = t6[i];
        emit("SpaceTool::DistancePoint2LineSegment", i,
             SpaceTool::DistancePoint2LineSegment(t.a, t.b, t.c, t.d, t.e, t.f));
    }

    const double lats[] = {0.0, 31.2304, 39.9042, 60.0, -33.8688, 89.9, 89.999, 90.0, -90.0};
    const double meters[] = {1.0, 0.37, 20.0, 123.456, -47.3, 55597.5, 111195.0};
    int n = 0;
    for (double lat : lats) {
        for (double m : meters) {
            emit("SpaceToolGeo::LongitudeForMeter", n, SpaceToolGeo::LongitudeForMeter(lat, m));
            emit("SpaceToolGeo::LatitudeForMeter", n, SpaceToolGeo::LatitudeForMeter(m));
            ++n;
        }
    }
    n = 0;
    for (size_t i = 0; i < pts.size(); ++i) {
        const GeoCoordinates& a = pts[i];
        const GeoCoordinates& b = pts[(i + 1) % pts.size()];
        const GeoCoordinates& c = pts[(i + 5) % pts.size()];
        double x, y;
        SpaceToolGeo::VectorInPlaneCoordinates(a, b, &x, &y);
        emit("SpaceToolGeo::VectorInPlaneCoordinates.x", i, x);
        emit("SpaceToolGeo::VectorInPlaneCoordinates.y", i, y);
        emit("SpaceToolGeo::DistancePoint2Point", i, SpaceToolGeo::DistancePoint2Point(a, b));
        emit("SpaceToolGeo::DistancePoint2LineSegment", i, SpaceToolGeo::DistancePoint2LineSegment(a, b, c));
        emit("SpaceToolGeo::AngleOfVector", i, SpaceToolGeo::AngleOfVector(a, b));
        emit("SpaceToolGeo::AngleOfTarget", i, SpaceToolGeo::AngleOfTarget(a, std::fmod(i * 0.7, TWO_PI), c));
    }
    emit("SpaceToolGeo::AngleOfVector", 1000, SpaceToolGeo::AngleOfVector(pts[0], pts[0]));
    emit("SpaceToolGeo::AngleOfTarget", 1000, SpaceToolGeo::AngleOfTarget(pts[0], 1.0, pts[0]));

    // The fix: derived motion and the prediction after a fixed age.
    const float headings[] = {0.0f, 45.0f, 89.99f, 90.0f, 90.01f, 135.0f, 180.0f, 270.0f, 359.99f, 12.345f};
    const float speeds[] = {0.0f, 10.0f, 13.89f, 0.5f};
    const double ages[] = {0.0, 0.1, 2.0, 1.75, 30.0};
    n = 0;
    for (float h : headings) {
        for (float v : speeds) {
            GNSS g;
            g.position.longitude = 116.3912;
            g.position.latitude = 39.9073;
            g.heading = h;
            g.speed = v;
            g.time.second = (int16_t)(n % 60);
            g.time.millisecond = (int16_t)(n * 37 % 1000);
            g.refreshMovable2D();
            emit("GNSS::refreshMovable2D.time", n, g.motion.time);
            emit("GNSS::refreshMovable2D.heading", n, g.motion.heading);
            emit("GNSS::refreshMovable2D.speedX", n, g.motion.speedX);
            emit("GNSS::refreshMovable2D.speedY", n, g.motion.speedY);
            int k = 0;
            for (double dt : ages) {
                GeoCoordinates out;
                g.predictGeoCoordinatesAfter(dt, &out);
                emit("GNSS::predictGeoCoordinatesAfter.longitude", n * 10 + k, out.longitude);
                emit("GNSS::predictGeoCoordinatesAfter.latitude", n * 10 + k, out.latitude);
                ++k;
            }
            ++n;
        }
    }
}

// Bits of a double ordered like the values, so that neighbours differ by 1.
int64_t ordered(uint64_t bits)
{
    return (bits & 0x8000000000000000ULL) ? -(int64_t)(bits & 0x7FFFFFFFFFFFFFFFULL) : (int64_t)bits;
}

bool isNaNBits(uint64_t bits)
{
    return (bits & 0x7FF0000000000000ULL) == 0x7FF0000000000000ULL && (bits & 0x000FFFFFFFFFFFFFULL) != 0;
}

bool readTable(const char* path, std::map<std::string, uint64_t>* table, std::vector<std::string>* order)
{
    std::ifstream in(path);
    if (!in) {
        std::cerr << "geometry_table: cannot read " << path << "\n";
        return false;
    }
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string name, hex;
        if (!(words >> name >> hex) || hex.size() != 16) {
            std::cerr << "geometry_table: bad line in " << path << ": " << line << "\n";
            return false;
        }
        (*table)[name] = std::stoull(hex, nullptr, 16);
        if (order != nullptr) {
            order->push_back(name);
        }
    }
    return true;
}

int compareTables(const char* pathA, const char* pathB)
{
    std::map<std::string, uint64_t> a, b;
    std::vector<std::string> order;
    if (!readTable(pathA, &a, &order) || !readTable(pathB, &b, nullptr)) {
        return 2;
    }
    if (a.empty() || a.size() != b.size()) {
        std::cout << "tables differ in size: " << a.size() << " and " << b.size() << " cases\n";
        return 1;
    }
    int identical = 0, oneUlp = 0, beyond = 0;
    std::set<std::string> oneUlpFunctions, beyondFunctions;
    for (const std::string& name : order) {
        auto other = b.find(name);
        std::string function = name.substr(0, name.find('['));
        if (other == b.end()) {
            std::cout << "missing in " << pathB << ": " << name << "\n";
            ++beyond;
            beyondFunctions.insert(function);
            continue;
        }
        uint64_t x = a[name], y = other->second;
        if (x == y || (isNaNBits(x) && isNaNBits(y))) {
            ++identical;
            continue;
        }
        int64_t dx = ordered(x), dy = ordered(y);
        bool nan = isNaNBits(x) || isNaNBits(y);
        if (!nan && (dx - dy == 1 || dy - dx == 1)) {
            ++oneUlp;
            oneUlpFunctions.insert(function);
        } else {
            if (++beyond <= 20) {
                std::cout << "differs: " << name << " " << std::hex << x << " " << y << std::dec << "\n";
            }
            beyondFunctions.insert(function);
        }
    }
    std::cout << order.size() << " cases: " << identical << " identical, " << oneUlp << " within 1 ulp, "
              << beyond << " beyond 1 ulp\n";
    for (const std::string& f : oneUlpFunctions) {
        std::cout << "  1 ulp apart: " << f << "\n";
    }
    for (const std::string& f : beyondFunctions) {
        std::cout << "  beyond 1 ulp: " << f << "\n";
    }
    return beyond == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && strcmp(argv[1], "--compare") == 0) {
        return compareTables(argv[2], argv[3]);
    }
    if (argc != 1) {
        std::cerr << "usage: geometry_table [--compare TABLE_A TABLE_B]\n";
        return 2;
    }
    printTable();
    return 0;
}
