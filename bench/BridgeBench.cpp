// The MQTT bridge's work on the lists, without the broker: what one list's
// JSON view costs (the publications per second the bridge's thread can
// sustain) and what its reads add to a writer's time on a list's lock.
// Every list here is full and owned by this process; scripts/bench.sh runs
// it in a private IPC namespace and prints the figures.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

#include "JsonText.h"
#include "ReceivedLists.h"
#include "bridge/BridgeLists.h"
#include "localmap/LMMapResMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "shm/DevConfigMng.h"

namespace {

std::vector<char> dataFile(const char* name)
{
    std::ifstream in(std::string(V2XSHM_DATA_DIR "/") + name, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

template <typename Rec>
Rec participant(int i)
{
    Rec p;
    snprintf(p.id, sizeof p.id, "unit-%d", i);
    p.gnss.position.longitude = 120.0 + i * 1e-4;
    p.gnss.position.latitude = 30.0;
    return p;
}

// The unit's lists, owned here and filled as a busy unit's are.
struct Unit {
    PTCListMng ptc{true};
    PtcOBUListMng obu{true};
    PtcRSUListMng rsu{true};
    LMNodeListMng map{true};
    LMTLListMng lights{true};
    LMRSIListMng rsi{true};
    DevConfigMng config{true};
    LMMapResMng location{true};

    Unit()
    {
        for (int i = 0; i < 200; ++i) {
            PTC p = participant<PTC>(i);
            p.ptcID = (uint16_t)i;
            ptc.operateSHMNotSafe(PTCListMng::insertUpdateList, &p);
            OBU o = participant<OBU>(i);
            obu.operateSHMNotSafe(PtcOBUListMng::insertUpdateList, &o);
            RSU r = participant<RSU>(i % 100);
            rsu.operateSHMNotSafe(PtcRSUListMng::insertUpdateList, &r);
        }
        std::map<int64_t, LMTrafficLightExtend> lit;
        size_t added = 0;
        if (!insertMapMessage(map, dataFile("sample-intersection.map")).empty() ||
            !insertLightMessage(lights, dataFile("sample-signal.tl"), &lit).empty() ||
            !insertRsiMessage(rsi, dataFile("sample-rsi.rsi"), "bench", &added).empty()) {
            throw std::runtime_error("sample data not loaded");
        }
        for (int i = 0; i < 40; ++i) {
            ConfigInfo entry;
            int32_t value = i;
            entry.setValue(("key" + std::to_string(i)).c_str(), ConfigInfo::FOUR_BYTES, &value);
            config.operateSHMNotSafe(DevConfigMng::insertConfig2SHM, &entry);
        }
    }
};

Unit& unit()
{
    static std::unique_ptr<Unit> u(new Unit);
    return *u;
}

// One list's publication as the bridge makes it: its view read (the lock
// held only for the copy), compared with the last one and written as text.
void BM_BridgeView(benchmark::State& state)
{
    unit();
    const std::string& list = bridgeLists()[(size_t)state.range(0)];
    ChangeTracker tracker;
    size_t bytes = 0;
    for (auto _ : state) {
        Json doc;
        std::string why;
        if (!listView(list, 0.0, &doc, &why)) {
            state.SkipWithError(why.c_str());
            break;
        }
        benchmark::DoNotOptimize(tracker.changed(list, doc));
        bytes = jsonText(doc).size();
    }
    state.SetLabel(list + ", " + std::to_string(bytes) + " B");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BridgeView)->DenseRange(0, 7)->Unit(benchmark::kMicrosecond);

// A writer refreshing one participant of a list of 200 (the scan and copy
// under the lock), alone (0) or while a bridge reads every list without
// pause (1, its worst case): the difference is what the bridge adds to the
// writer's time on the lock.
void BM_WriterRefresh(benchmark::State& state)
{
    Unit& u = unit();
    std::atomic<bool> stop{false};
    std::thread bridge;
    if (state.range(0) == 1) {
        bridge = std::thread([&stop] {
            while (!stop) {
                for (const std::string& list : bridgeLists()) {
                    Json doc;
                    std::string why;
                    listView(list, 0.0, &doc, &why);
                }
            }
        });
    }
    PTC p = participant<PTC>(199);
    p.ptcID = 199;
    for (auto _ : state) {
        benchmark::DoNotOptimize(u.ptc.operateSHMNotSafe(PTCListMng::insertUpdateList, &p));
    }
    stop = true;
    if (bridge.joinable()) {
        bridge.join();
    }
    state.SetLabel(state.range(0) == 1 ? "bridge reading" : "alone");
}
BENCHMARK(BM_WriterRefresh)->Arg(0)->Arg(1)->UseRealTime();

}  // namespace
