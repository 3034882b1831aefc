// One 10 Hz cycle of an advising process, as a single figure: read the node,
// light and RSI lists, locate the vehicle, evaluate its approach's signal
// state, speed advice and road-side information, and publish the phase and
// RSI results. Argument 0: the sample intersection; 1: the same beside a
// dense grid of 25,000 segments over the intersection's area. The counter
// allocs_per_cycle counts operator new calls in the measured cycles (the
// first cycle, which sizes the buffers, runs before them: first_cycle_allocs).
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <new>
#include <vector>

#include "BenchLists.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "shm/TimeTool.h"
#include "v2xshm-unit/ApproachRSI.h"
#include "v2xshm-unit/ApproachSignal.h"
#include "v2xshm-unit/SpeedAdvice.h"

namespace {
std::atomic<unsigned long> allocations{0};
}  // namespace

// Every allocation of the benchmark binary goes through here to be counted.
// The replaced pair is malloc/free on purpose: GCC cannot tell once inlined.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size)) {
        return p;
    }
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

constexpr double HALF_PI = 1.5707963267948966;
constexpr int GRID_LINKS = 250;     // links running east, 20 m apart
constexpr int GRID_POINTS = 101;    // 100 segments of 10 m each

// The grid: 25 nodes of 10 links, keys after the sample's, centred on it.
void addGrid(std::map<int64_t, LMNodeExtend>* nodes)
{
    for (int n = 0; n < GRID_LINKS / 10; ++n) {
        LMNodeExtend& node = (*nodes)[100000 + n];
        node.nodeId = 100000 + n;
        static_cast<GeoCoordinates&>(node) = SampleIntersection::at(0.0, 0.0);
        for (int l = 0; l < 10; ++l) {
            LMLinkExtend& link = node.links[200000 + l];
            link.upstreamNodeId = 200000 + l;
            link.laneNum = 2;
            double north = -2500.0 + 20.0 * (n * 10 + l) + 10.0;
            for (int p = 0; p < GRID_POINTS; ++p) {
                LMPointBase point;
                static_cast<GeoCoordinates&>(point) = SampleIntersection::at(-500.0 + 10.0 * p, north);
                link.points.push_back(point);
            }
            link.calcPointsDis2End();
        }
    }
}

// The owners of the lists, holding the sample's lights and RSI, and the map
// of argument `dense`. False when a list does not fit its segment.
bool fillLists(bool dense)
{
    LMNodeListMng& nodeOwner = nodeListOwner();
    LMTLListMng& lightOwner = lightListOwner();
    LMRSIListMng& rsiOwner = rsiListOwner();
    nodeOwner.nodes.clear();
    for (const LMNodeExtend& node : SampleIntersection::nodes()) {
        int64_t id = node.nodeId;
        nodeOwner.nodes[id] = node;
    }
    if (dense) {
        addGrid(&nodeOwner.nodes);
    }
    std::map<int64_t, LMTrafficLightExtend> received;
    for (const LMTrafficLightExtend& light : SampleSignal::lights()) {
        int64_t id = light.id;
        received[id] = light;
    }
    lightOwner.lights.clear();
    rsiOwner.records = SampleSignal::rsiRecords();
    return nodeOwner.commit() == 1 && lightOwner.commit() == 1
           && lightOwner.operateSHMNotSafe(LMTLListMng::insertUpdateList, &received) == 1
           && rsiOwner.commit() == 1;
}

// What an advising process keeps from one cycle to the next.
struct Advisor {
    LMNodeListMng nodes{false};
    LMTLListMng lights{false};
    LMRSIListMng rsi{false};
    LMTLPhaseResMng phaseOut{true};
    LMRSIResMng rsiOut{true};
    LMMapRes located;
    ApproachSignal signal;
    std::vector<SpeedAdvice> advice;
    std::vector<ApproachRSI> onApproach;

    // One cycle; false when a step fails.
    bool cycle(const GeoCoordinates& vehicle, double heading, double speed)
    {
        if (nodes.update() != 1 || lights.update() != 1 || rsi.update() != 1
            || nodes.calcVehLocationInLM(vehicle, heading, &located) != 1) {
            return false;
        }
        double now = TimeTool::getPreciseTimeNow();
        return evalApproachSignal(nodes.nodes, located, lights.lights, now, &signal) == 1
               && adviseApproach(signal, located, speed, &advice) >= 0
               && findApproachRSI(nodes.nodes, located, rsi.records, vehicle, &onApproach) >= 0
               && publishApproachSignal(signal, now, &phaseOut) == 1
               && publishApproachRSI(onApproach, now, &rsiOut) == 1;
    }
};

void BM_AdvisoryCycle(benchmark::State& state)
{
    if (!fillLists(state.range(0) == 1)) {
        state.SkipWithError("a list does not fit its segment");
        return;
    }
    // On Mill Rd northbound, 120 m before the centre node, at 12 m/s.
    const GeoCoordinates vehicle = SampleIntersection::at(6.0, -120.0);
    Advisor advisor;
    unsigned long before = allocations.load();
    if (!advisor.cycle(vehicle, HALF_PI, 12.0)) {
        state.SkipWithError("the cycle failed");
        return;
    }
    const double first = (double)(allocations.load() - before);
    before = allocations.load();
    for (auto _ : state) {
        if (!advisor.cycle(vehicle, HALF_PI, 12.0)) {
            state.SkipWithError("the cycle failed");
            return;
        }
    }
    state.counters["first_cycle_allocs"] = first;
    state.counters["allocs_per_cycle"] = (double)(allocations.load() - before) / (double)state.iterations();
    size_t segments = 0;
    for (const auto& node : advisor.nodes.nodes) {
        for (const auto& link : node.second.links) {
            segments += link.second.points.empty() ? 0 : link.second.points.size() - 1;
        }
    }
    state.counters["segments"] = (double)segments;
    state.counters["movements"] = (double)advisor.signal.movements.size();
    state.counters["rsi_found"] = (double)advisor.onApproach.size();
}

}  // namespace

BENCHMARK(BM_AdvisoryCycle)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
