// The local map's costs beside their floors: decoding a received map (the
// sample intersection and a large synthetic map) against copying the same
// bytes, with and without the checked walk; rebuilding the local map from a
// half-full node list against copying the whole 1 MiB segment; and the
// location search over about 25,000 link segments that all match the heading,
// against the bare geometry of those segments.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "v2xshm-unit/LMMessageWriter.h"
#include "BenchLists.h"
#include "ListFloor.h"
#include "SampleIntersection.h"
#include "localmap/LMMapRes.h"
#include "localmap/LMMessageCheck.h"
#include "localmap/LMNodeListMng.h"
#include "space/SpaceToolGeo.h"

namespace {

constexpr int MIB = 1048576;

// Metres east and north of the sample's centre node.
LMPointBase pointAt(double east, double north)
{
    LMPointBase point;
    static_cast<GeoCoordinates&>(point) = SampleIntersection::at(east, north);
    return point;
}

// `nodes` nodes of `links` links; each link has two lanes of `lanePoints`
// points and two movements, two speed limits, `linkPoints` points running
// east 10 m apart, and three movements. Links lie 20 m apart northwards.
std::vector<LMNodeExtend> syntheticMap(int nodes, int links, int linkPoints, int lanePoints)
{
    std::vector<LMNodeExtend> map;
    for (int n = 0; n < nodes; ++n) {
        LMNodeExtend node;
        node.nodeId = 100000 + n;
        memcpy(node.name, "synthetic node", 14);
        static_cast<GeoCoordinates&>(node) = SampleIntersection::at(0.0, 0.0);
        for (int l = 0; l < links; ++l) {
            LMLinkExtend link;
            link.upstreamNodeId = 200000 + l;
            memcpy(link.name, "synthetic link", 14);
            link.laneNum = 2;
            double north = 20.0 * (n * links + l);
            for (int p = 0; p < linkPoints; ++p) {
                link.points.push_back(pointAt(10.0 * p, north));
            }
            for (uint8_t id = 1; id <= 2; ++id) {
                LMLaneExtend lane;
                lane.laneID = id;
                for (int p = 0; p < lanePoints; ++p) {
                    lane.points.push_back(pointAt(10.0 * p, north + 1.75 * id));
                }
                for (int64_t remote : {300001, 300002}) {
                    lane.movements[remote].remoteNodeId = remote;
                }
                link.lanes[id] = lane;
            }
            for (uint8_t type : {4, 5}) {
                LMSpeedLimitBase limit;
                limit.type = type;
                limit.speed = type == 5 ? 13.89f : 2.78f;
                link.speedLimits.push_back(limit);
            }
            for (int64_t remote : {300001, 300002, 300003}) {
                link.movements[remote].remoteNodeId = remote;
            }
            link.calcPointsDis2End();
            node.links[link.upstreamNodeId] = link;
        }
        map.push_back(node);
    }
    return map;
}

// Flattened, this map takes about 505 KiB: half the node list.
std::vector<LMNodeExtend> halfListMap()
{
    return syntheticMap(22, 8, 40, 20);
}

std::vector<char> messageOf(const std::vector<LMNodeExtend>& nodes)
{
    std::vector<char> bytes;
    LMMessageWriter::writeNodeList(nodes, &bytes);
    return bytes;
}

const std::vector<char>& sampleMessage()
{
    static const std::vector<char> bytes = messageOf(SampleIntersection::nodes());
    return bytes;
}

const std::vector<char>& largeMessage()
{
    static const std::vector<char> bytes = messageOf(halfListMap());
    return bytes;
}

const std::vector<char>& messageFor(const benchmark::State& state)
{
    return state.range(0) == 0 ? sampleMessage() : largeMessage();
}

// The owner of the node list, for the whole run (removed at exit).
LMNodeListMng& nodeList()
{
    return nodeListOwner();
}

void BM_MapDeSerialize(benchmark::State& state)
{
    const std::vector<char>& bytes = messageFor(state);
    LMNodeListMng& mng = nodeList();
    for (auto _ : state) {
        int pos = 0;
        benchmark::DoNotOptimize(mng.DeSerialize(bytes.data(), &pos, (int)bytes.size()));
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)bytes.size());
    state.counters["message_bytes"] = (double)bytes.size();
}

void BM_MapDeSerializeChecked(benchmark::State& state)
{
    const std::vector<char>& bytes = messageFor(state);
    LMNodeListMng& mng = nodeList();
    for (auto _ : state) {
        int pos = 0;
        benchmark::DoNotOptimize(LMMessageCheck::DeSerializeChecked(&mng, bytes.data(), &pos, (int)bytes.size()));
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)bytes.size());
}

void BM_MapCheckOnly(benchmark::State& state)
{
    const std::vector<char>& bytes = messageFor(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(LMMessageCheck::checkNodeList(bytes.data(), 0, (int)bytes.size()));
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)bytes.size());
}

void BM_MapMessageMemcpyFloor(benchmark::State& state)
{
    const std::vector<char>& bytes = messageFor(state);
    std::vector<char> copy(bytes.size());
    for (auto _ : state) {
        memcpy(copy.data(), bytes.data(), bytes.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)bytes.size());
}

void BM_MapUpdateHalfList(benchmark::State& state)
{
    LMNodeListMng& mng = nodeList();
    mng.nodes.clear();
    for (const LMNodeExtend& node : halfListMap()) {
        int64_t id = node.nodeId;
        mng.nodes[id] = node;
    }
    int image = 4;
    for (const auto& entry : mng.nodes) {
        image += entry.second.flatSize();
    }
    if (mng.commit() != 1) {
        state.SkipWithError("the synthetic map does not fit the node list");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.update());
    }
    state.counters["image_bytes"] = (double)image;
    state.counters["nodes"] = (double)mng.nodes.size();
}

// The update's floor: copying the image's bytes and decoding them into the
// same reused map, with nothing else.
void BM_MapUpdateFloor(benchmark::State& state)
{
    LMNodeListMng& mng = nodeList();
    mng.nodes.clear();
    for (const LMNodeExtend& node : halfListMap()) {
        int64_t id = node.nodeId;
        mng.nodes[id] = node;
    }
    int image = 4;
    for (const auto& entry : mng.nodes) {
        image += entry.second.flatSize();
    }
    std::vector<char> copy(MIB);
    const char* segment = mng.commit() == 1 ? benchfloor::attachSegment(LMNodeListMng::SHM_KEY) : nullptr;
    if (segment == nullptr) {
        state.SkipWithError("the synthetic map does not fit the node list");
        return;
    }
    std::map<int64_t, LMNodeExtend> nodes = mng.nodes;
    for (auto _ : state) {
        benchfloor::copyAndDecode(segment, image, &copy, &nodes);
        benchmark::ClobberMemory();
    }
}

void BM_Memcpy1MiBFloor(benchmark::State& state)
{
    std::vector<char> from(MIB, 0x5A);
    std::vector<char> to(MIB);
    for (auto _ : state) {
        memcpy(to.data(), from.data(), MIB);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)MIB);
}

// 25 nodes of 10 links of 100 segments, all running east.
constexpr int LOCATION_NODES = 25;
constexpr int LOCATION_LINKS = 10;
constexpr int LOCATION_POINTS = 101;
constexpr int LOCATION_SEGMENTS = LOCATION_NODES * LOCATION_LINKS * (LOCATION_POINTS - 1);

void BM_MapLocation(benchmark::State& state)
{
    LMNodeListMng& mng = nodeList();
    mng.nodes.clear();
    for (const LMNodeExtend& node : syntheticMap(LOCATION_NODES, LOCATION_LINKS, LOCATION_POINTS, 0)) {
        int64_t id = node.nodeId;
        mng.nodes[id] = node;
    }
    // Beside the middle of the map, driving east: every segment is a candidate.
    GeoCoordinates vehicle = SampleIntersection::at(505.0, 10.0 * LOCATION_NODES * LOCATION_LINKS + 3.0);
    LMMapRes res;
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.calcVehLocationInLM(vehicle, 0.0, &res));
    }
    state.counters["segments"] = LOCATION_SEGMENTS;
    state.counters["time_per_segment"] = benchmark::Counter(
        (double)state.iterations() * LOCATION_SEGMENTS, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// The location search's worst cases over the same map. Argument 0: the
// vehicle beside the middle heading west, so that every segment is near but
// fails the heading test; 1: the vehicle 4 km north of the map heading east,
// so that every link lies far away and each is nearer than the last (half
// its segments become the best so far).
void BM_MapLocationWorst(benchmark::State& state)
{
    LMNodeListMng& mng = nodeList();
    mng.nodes.clear();
    for (const LMNodeExtend& node : syntheticMap(LOCATION_NODES, LOCATION_LINKS, LOCATION_POINTS, 0)) {
        int64_t id = node.nodeId;
        mng.nodes[id] = node;
    }
    const double mapNorth = 20.0 * LOCATION_NODES * LOCATION_LINKS;
    GeoCoordinates vehicle = state.range(0) == 0 ? SampleIntersection::at(505.0, mapNorth / 2.0 + 3.0)
                                                 : SampleIntersection::at(505.0, mapNorth + 4000.0);
    double heading = state.range(0) == 0 ? 3.141592653589793 : 0.0;
    LMMapRes res;
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.calcVehLocationInLM(vehicle, heading, &res));
    }
    state.counters["segments"] = LOCATION_SEGMENTS;
    state.counters["time_per_segment"] = benchmark::Counter(
        (double)state.iterations() * LOCATION_SEGMENTS, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// The geometry every matching segment needs (its direction and the distance
// to it) over a flat array of the same points, without the map's containers.
void BM_MapLocationGeometryFloor(benchmark::State& state)
{
    std::vector<GeoCoordinates> points;
    for (int s = 0; s < LOCATION_NODES * LOCATION_LINKS; ++s) {
        for (int p = 0; p < LOCATION_POINTS; ++p) {
            points.push_back(SampleIntersection::at(10.0 * p, 20.0 * s));
        }
    }
    GeoCoordinates vehicle = SampleIntersection::at(505.0, 10.0 * LOCATION_NODES * LOCATION_LINKS + 3.0);
    for (auto _ : state) {
        double best = 9999.0;
        for (size_t i = 0; i < points.size(); i += LOCATION_POINTS) {
            for (int p = 1; p < LOCATION_POINTS; ++p) {
                double a = SpaceToolGeo::AngleOfVector(points[i + p - 1], points[i + p]);
                if (a < 0.5235987755982988) {
                    double d = SpaceToolGeo::DistancePoint2LineSegment(vehicle, points[i + p - 1], points[i + p]);
                    best = d < best ? d : best;
                }
            }
        }
        benchmark::DoNotOptimize(best);
    }
    state.counters["time_per_segment"] = benchmark::Counter(
        (double)state.iterations() * LOCATION_SEGMENTS, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace

// Argument 0: the sample intersection; 1: the large synthetic map.
BENCHMARK(BM_MapDeSerialize)->Arg(0)->Arg(1);
BENCHMARK(BM_MapDeSerializeChecked)->Arg(0)->Arg(1);
BENCHMARK(BM_MapCheckOnly)->Arg(0)->Arg(1);
BENCHMARK(BM_MapMessageMemcpyFloor)->Arg(0)->Arg(1);
BENCHMARK(BM_MapUpdateHalfList);
BENCHMARK(BM_MapUpdateFloor);
BENCHMARK(BM_Memcpy1MiBFloor);
BENCHMARK(BM_MapLocation);
BENCHMARK(BM_MapLocationWorst)->Arg(0)->Arg(1);
BENCHMARK(BM_MapLocationGeometryFloor);
