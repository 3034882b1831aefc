// The node list's fast paths against plain implementations, on random maps
// and images (fixed seeds): the location search, which skips segments too far
// away to win and projects with the vehicle's cosine taken once, against the
// search written here from the documented algorithm; and update, which reuses
// the local map's allocations, against decoding into fresh records. Results
// must be the same bit for bit, failures included.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "LocalMapTestUtil.h"
#include "localmap/LMNodeListMng.h"
#include "space/SpaceToolGeo.h"

namespace {

using NodeMap = std::map<int64_t, LMNodeExtend>;
constexpr int SIZE = LMNodeListMng::SHM_SIZE;
constexpr double PI = 3.141592653589793;
constexpr double TOLERANCE = 0.5235987755982988;  // 30 degrees

struct Rng {
    std::mt19937 gen;
    double real(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(gen); }
    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(gen); }
    bool chance(double p) { return real(0.0, 1.0) < p; }
};

// ---- location search ----

// The search as documented: each segment's direction, then its distance.
int referenceLocation(const NodeMap& nodes, GeoCoordinates position, double heading, LMMapRes* out)
{
    LMMapRes found;
    double best = 9999.0;
    int bestLanes = 0;
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            const std::vector<LMPointBase>& pts = link.second.points;
            for (size_t i = 1; i < pts.size(); ++i) {
                double diff = fabs(heading - SpaceToolGeo::AngleOfVector(pts[i - 1], pts[i]));
                if (!(diff < TOLERANCE || 6.283185307179586 - diff < TOLERANCE)) {
                    continue;
                }
                double d = SpaceToolGeo::DistancePoint2LineSegment(position, pts[i - 1], pts[i]);
                if (d < best) {
                    found.upstreamNodeId = link.first;
                    found.nodeId = node.first;
                    found.dis2StopLine = SpaceToolGeo::DistancePoint2Point(position, pts[i]) + pts[i].dis2End;
                    found.maxSpeed = link.second.getVehSpeedLimByType(5, 16.67f);
                    found.minSpeed = link.second.getVehSpeedLimByType(4, 0.0f);
                    bestLanes = link.second.laneNum;
                    best = d;
                }
            }
        }
    }
    found.refreshTime();
    if (bestLanes * 3.5 + 5.0 > best) {
        *out = found;
        return 1;
    }
    return -2;
}

// A point `east` and `north` metres from (lat0, lon0), anywhere on the globe.
LMPointBase at(double lat0, double lon0, double east, double north)
{
    LMPointBase p;
    p.longitude = lon0 + SpaceToolGeo::LongitudeForMeter(lat0, east);
    p.latitude = lat0 + SpaceToolGeo::LatitudeForMeter(north);
    return p;
}

// Links over a few nodes, some exact twins of earlier ones (ties), shaped as
// random walks of long or tiny (often repeated) steps, or circles whose chords
// lie nearly equally far from the centre. A fan instead holds spokes within
// 25 degrees of east, pointing away from the origin and all `scale` away to a
// few units in the last place: the nearest point of each is where its
// bounding box begins, the hardest case for the search's skip test.
NodeMap randomMap(Rng& rng, double lat0, double lon0, double scale, bool fan)
{
    NodeMap nodes;
    std::vector<LMLinkExtend> made;
    for (int k = rng.pick(1, fan ? 60 : 20); k > 0; --k) {
        LMLinkExtend link;
        int shape = rng.pick(0, 3);
        double x = rng.real(-scale, scale);
        double y = rng.real(-scale, scale);
        double dir = fan ? rng.real(-0.43, 0.43) : rng.real(0.0, 2 * PI);
        double r = fan ? scale * (1.0 + rng.pick(0, 3) * 1e-13) : rng.real(1.0, scale);
        for (int i = 0, n = fan ? 2 : rng.pick(0, 24); i < n; ++i) {
            if (fan) {
                link.points.push_back(at(lat0, lon0, (r + 10 * i) * cos(dir), (r + 10 * i) * sin(dir)));
            } else if (shape == 0) {
                link.points.push_back(at(lat0, lon0, x + r * cos(2 * PI * i / n), y + r * sin(2 * PI * i / n)));
            } else {
                link.points.push_back(at(lat0, lon0, x, y));
                double step = shape == 1 ? (rng.chance(0.3) ? 0.0 : rng.real(0.0, 1e-5)) : rng.real(0.5, scale / 4);
                dir += shape == 2 ? rng.real(-0.05, 0.05) : rng.real(-PI, PI);
                x += step * cos(dir);
                y += step * sin(dir);
            }
        }
        for (int s = rng.pick(0, 3); s > 0; --s) {
            link.speedLimits.push_back(limit((uint8_t)rng.pick(3, 6), (float)rng.real(0.0, 40.0)));
        }
        link.calcPointsDis2End();
        link.laneNum = (uint8_t)rng.pick(0, fan ? 255 : 4);
        if (!made.empty() && rng.chance(0.15)) {
            link = made[rng.pick(0, (int)made.size() - 1)];
        }
        link.upstreamNodeId = rng.pick(-20, 20);
        int64_t id = (int64_t)rng.pick(-5, 5) * 1000003;
        nodes[id].nodeId = id;
        nodes[id].links[link.upstreamNodeId] = link;
        made.push_back(link);
    }
    return nodes;
}

// Mostly a vehicle beside a random segment, at one of several distances, on
// one of its ends, heading along it, at or just inside the tolerance, or off
// by up to 34 degrees; else anywhere around. Now and then a NaN position.
void randomQuery(Rng& rng, const NodeMap& nodes, GeoCoordinates* pos, double* heading)
{
    std::vector<const LMPointBase*> starts;  // of segments: the next point ends them
    for (const auto& node : nodes) {
        for (const auto& link : node.second.links) {
            for (size_t i = 1; i < link.second.points.size(); ++i) {
                starts.push_back(&link.second.points[i - 1]);
            }
        }
    }
    if (starts.empty() || rng.chance(0.1)) {
        pos->latitude += rng.real(-0.01, 0.01);
        pos->longitude += rng.real(-0.01, 0.01);
        *heading = rng.real(-1.0, 7.0);
        return;
    }
    const LMPointBase& a = *starts[rng.pick(0, (int)starts.size() - 1)];
    const LMPointBase& b = (&a)[1];
    double direction = SpaceToolGeo::AngleOfVector(a, b);
    const double offsets[] = {0.0, 1e-9, 0.01, 1.0, 4.9, 8.5, 12.0, 100.0};
    double off = offsets[rng.pick(0, 7)];
    double t = rng.real(-0.2, 1.2);
    double lat = a.latitude + t * (b.latitude - a.latitude);
    pos->longitude = a.longitude + t * (b.longitude - a.longitude)
                   + SpaceToolGeo::LongitudeForMeter(lat, off * -sin(direction));
    pos->latitude = lat + SpaceToolGeo::LatitudeForMeter(off * cos(direction));
    if (rng.chance(0.25)) {
        *pos = rng.chance(0.5) ? a : b;
    }
    double edge = rng.chance(0.5) ? TOLERANCE : -TOLERANCE;
    const double headings[] = {direction, nextafter(direction + edge, direction), direction + edge,
                               direction + rng.real(-0.6, 0.6)};
    *heading = headings[rng.pick(0, 3)];
    if (rng.chance(0.02)) {
        pos->latitude = std::numeric_limits<double>::quiet_NaN();
    }
}

TEST(LMNodeListMngReference, LocationSearchEqualsThePlainSearch)
{
    const double origins[][2] = {{30.0, 120.0}, {59.9, 10.7}, {-45.0, -170.0}, {0.001, 0.0}, {89.5, 45.0}};
    const double scales[] = {15.0, 150.0, 3000.0, 20000.0};
    const double fanRadii[] = {2.0, 50.0, 400.0, 890.0};  // the widest link reaches 897.5 m
    Rng rng{std::mt19937(20240611)};
    LMNodeListMng mng(true);
    int queries = 0;
    int found = 0;
    for (int m = 0; m < 300; ++m) {
        const double* origin = origins[m % 5];
        bool fan = m % 4 == 3;
        double scale = fan ? fanRadii[rng.pick(0, 3)] : scales[rng.pick(0, 3)];
        mng.nodes = randomMap(rng, origin[0], origin[1], scale, fan);
        for (int q = 0; q < 25; ++q, ++queries) {
            // A fan's vehicle sits at its centre, heading east.
            GeoCoordinates pos = at(origin[0], origin[1], rng.real(-1e-6, 1e-6), rng.real(-1e-6, 1e-6));
            double heading = 0.0;
            if (!fan || rng.chance(0.2)) {
                randomQuery(rng, mng.nodes, &pos, &heading);
            }
            SCOPED_TRACE(testing::Message() << "map " << m << (fan ? " (fan)" : "") << " query " << q);
            // The same code and the same 41 bytes (the stamp, written when found, aside).
            LMMapRes fast;
            LMMapRes ref;
            memset(static_cast<void*>(&fast), 0xA5, sizeof fast);
            memset(static_cast<void*>(&ref), 0xA5, sizeof ref);
            int code = mng.calcVehLocationInLM(pos, heading, &fast);
            ASSERT_EQ(code, referenceLocation(mng.nodes, pos, heading, &ref));
            std::vector<char> fastImage = imageOf(fast);
            std::vector<char> refImage = imageOf(ref);
            int from = code == 1 ? 8 : 0;
            ASSERT_TRUE(std::equal(fastImage.begin() + from, fastImage.end(), refImage.begin() + from))
                << "node " << +fast.nodeId << "/" << +ref.nodeId << " link " << +fast.upstreamNodeId << "/"
                << +ref.upstreamNodeId;
            found += code == 1;
        }
    }
    // Both outcomes must be well represented for the comparison to mean much.
    EXPECT_GT(found, queries / 5);
    EXPECT_LT(found, queries * 4 / 5);
}

// ---- update ----

// `size` random bytes, with the key field at keyAt (keyBytes wide, host order,
// little-endian on every target) set to key.
void appendRecord(Rng& rng, std::vector<char>* out, int size, int keyAt = 0, int64_t key = 0, int keyBytes = 0)
{
    for (int i = 0; i < size; ++i) {
        out->push_back((char)rng.pick(0, 255));
    }
    memcpy(out->data() + out->size() - size + keyAt, &key, (size_t)keyBytes);
}

// A random count up to `most`, then as many children.
template <typename Child>
void appendGroup(Rng& rng, std::vector<char>* out, int most, Child child)
{
    uint32_t n = (uint32_t)rng.pick(0, most);
    out->insert(out->end(), reinterpret_cast<const char*>(&n), reinterpret_cast<const char*>(&n + 1));
    for (uint32_t i = 0; i < n; ++i) {
        child();
    }
}

// A flattened node of random content, its keys from small ranges so that
// they repeat and arrive out of order, which no commit writes.
void appendNode(Rng& rng, std::vector<char>* out)
{
    auto movements = [&] { appendGroup(rng, out, 4, [&] { appendRecord(rng, out, 9, 0, rng.pick(-3, 6), 8); }); };
    auto points = [&](int most) { appendGroup(rng, out, most, [&] { appendRecord(rng, out, 34); }); };
    appendRecord(rng, out, 106, 98, rng.pick(-4, 12), 8);
    appendGroup(rng, out, 4, [&] {
        appendRecord(rng, out, 81, 0, rng.pick(-2, 5), 8);
        appendGroup(rng, out, 3, [&] {
            appendRecord(rng, out, 8, 0, rng.pick(0, 4), 1);
            points(8);
            movements();
        });
        appendGroup(rng, out, 3, [&] { appendRecord(rng, out, 5); });
        points(30);
        movements();
    });
}

int writeSegment(void* shm, void* arg)
{
    memcpy(shm, static_cast<std::vector<char>*>(arg)->data(), SIZE);
    return 1;
}

TEST(LMNodeListMngReference, UpdateEqualsThePlainDecode)
{
    // One manager throughout, so that each update rebuilds a local map left
    // by another image.
    Rng rng{std::mt19937(1048576)};
    LMNodeListMng mng(true);
    int failures = 0;
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        // Random nodes; their count sometimes beyond those present (zero
        // bytes follow), short or negative, or bytes of them overwritten.
        // Every tenth image reaches the segment's end instead: its second
        // node's points end up to 150 bytes before it, their count sometimes
        // raised past it, then nodes cut off by it.
        bool tail = round % 10 == 9;
        std::vector<char> image(4);
        int32_t count = tail ? 4 : rng.pick(0, 10);
        for (int i = 0; i < count; ++i) {
            if (!tail || i != 1) {
                appendNode(rng, &image);
                continue;
            }
            int points = (SIZE - (int)image.size() - 207 - rng.pick(0, 150)) / 34;
            appendRecord(rng, &image, 106, 98, 99, 8);
            image.insert(image.end(), {1, 0, 0, 0});
            appendRecord(rng, &image, 81, 0, 1, 8);
            image.resize(image.size() + 8, 0);  // no lanes, no speed limits
            appendRecord(rng, &image, 4, 0, points + (rng.chance(0.3) ? rng.pick(1, 5) : 0), 4);
            image.resize(image.size() + 34 * (size_t)points + 4, 0);  // the points, no movements
        }
        int variant = tail ? 3 : rng.pick(0, 5);
        count = variant == 0 ? count + rng.pick(1, 3) : variant == 1 ? rng.pick(-2, count) : count;
        for (int k = variant == 2 ? rng.pick(1, 4) : 0; k > 0 && image.size() > 4; --k) {
            image[rng.pick(4, (int)image.size() - 1)] = (char)rng.pick(0, 255);
        }
        memcpy(image.data(), &count, 4);
        image.resize(SIZE, 0);
        ASSERT_EQ(mng.operateSHMNotSafe(writeSegment, &image), 1);

        // The plain decode of the whole segment, node by node into fresh records.
        NodeMap ref;
        int code = 1;
        int pos = 4;
        for (int32_t i = 0; i < count && pos < SIZE; ++i) {
            LMNodeExtend node;  // fresh: nothing reused from an earlier image
            if (node.buffer2Obj(image.data(), &pos, SIZE) < 0) {
                code = -1;
                break;
            }
            ref[+node.nodeId] = node;
        }
        ASSERT_EQ(mng.update(), code);
        EXPECT_EQ(imagesOf(mng.nodes), imagesOf(ref));
        failures += code < 0;
    }
    EXPECT_GT(failures, 5);
    EXPECT_LT(failures, 70);
}

}  // namespace
