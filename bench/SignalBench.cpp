// The signal and road-side information lists beside their floors: a received
// list of 64 traffic lights put into the light list's segment (the same 64
// already stored, as when a controller's broadcast arrives again; and beside
// 64 other lights that stay) against copying the 64 lights' bytes; and
// rebuilding the local RSI vector from about 512 KiB of records against
// copying those bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <vector>

#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

namespace {

constexpr int LIGHTS = 64;
constexpr int PHASES = 8;       // per light
constexpr int RSI_RECORDS = 512;
constexpr int RSI_POINTS = 20;  // per record: 323 + 20 * 34 = 1003 bytes

using LightMap = std::map<int64_t, LMTrafficLightExtend>;

LightMap lightsFrom(int64_t firstId)
{
    LightMap lights;
    for (int i = 0; i < LIGHTS; ++i) {
        LMTrafficLightExtend light;
        light.id = firstId + i;
        light.timeStamp = (int16_t)i;
        for (uint8_t p = 1; p <= PHASES; ++p) {
            LMPhaseExtend phase;
            phase.phaseID = p;
            for (uint8_t code : {3, 6, 8}) {  // red, green, yellow
                LMPhaseStateBase state;
                state.light = code;
                state.startTime = (float)code;
                state.likelyEndTime = (float)(code + 20);
                phase.phaseStates[code] = state;
            }
            light.phases[p] = phase;
        }
        lights[light.id] = light;
    }
    return lights;
}

int flatBytes(const LightMap& lights)
{
    int bytes = 0;
    for (const auto& entry : lights) {
        bytes += entry.second.flatSize();
    }
    return bytes;
}

LMTLListMng& lightList()
{
    static LMTLListMng mng(true);
    return mng;
}

// Argument 0: the segment holds the same 64 lights; 1: it also holds 64
// lights not received this time, which stay ahead of the received ones.
void BM_TLInsertUpdateList(benchmark::State& state)
{
    LMTLListMng& mng = lightList();
    const LightMap received = lightsFrom(1000);
    mng.lights = received;
    if (state.range(0) == 1) {
        for (const auto& entry : lightsFrom(5000)) {
            mng.lights.insert(entry);
        }
    }
    if (mng.commit() != 1) {
        state.SkipWithError("the lights do not fit the segment");
        return;
    }
    LightMap incoming = received;
    for (auto _ : state) {
        if (mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &incoming) != 1) {
            state.SkipWithError("insertUpdateList failed");
            return;
        }
    }
    state.counters["list_bytes"] = (double)flatBytes(received);
    state.SetBytesProcessed(state.iterations() * (int64_t)flatBytes(received));
}

void BM_TLInsertFloor(benchmark::State& state)
{
    std::vector<char> from((size_t)flatBytes(lightsFrom(1000)), 0x5A);
    std::vector<char> to(from.size());
    for (auto _ : state) {
        memcpy(to.data(), from.data(), from.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)from.size());
}

// Writing the 64 received lights' images alone: what any insert must do
// with lights that arrive as maps of phases and states.
void BM_TLEncodeFloor(benchmark::State& state)
{
    const LightMap lights = lightsFrom(1000);
    std::vector<char> to((size_t)flatBytes(lights));
    for (auto _ : state) {
        int pos = 0;
        for (const auto& entry : lights) {
            entry.second.Obj2Buff(to.data(), &pos);
        }
        benchmark::ClobberMemory();
    }
}

std::vector<LMRSIExtend> rsiRecords()
{
    std::vector<LMRSIExtend> records(RSI_RECORDS);
    for (int i = 0; i < RSI_RECORDS; ++i) {
        LMRSIExtend& rec = records[i];
        rec.infoID = (int16_t)i;
        memcpy(rec.sourceID, "bench", 5);
        memcpy(rec.text, "road works ahead", 16);
        rec.points.resize(RSI_POINTS);
        for (int p = 0; p < RSI_POINTS; ++p) {
            rec.points[p].latitude = 0.001 * p;
            rec.points[p].longitude = 0.001 * i;
        }
    }
    return records;
}

int rsiBytes()
{
    int bytes = 4;
    for (const LMRSIExtend& rec : rsiRecords()) {
        bytes += rec.flatSize();
    }
    return bytes;
}

void BM_RSIUpdate(benchmark::State& state)
{
    static LMRSIListMng mng(true);
    mng.records = rsiRecords();
    if (mng.commit() != 1) {
        state.SkipWithError("the records do not fit the segment");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.update());
    }
    state.counters["image_bytes"] = (double)rsiBytes();
    state.SetBytesProcessed(state.iterations() * (int64_t)rsiBytes());
}

void BM_RSIUpdateFloor(benchmark::State& state)
{
    std::vector<char> from((size_t)rsiBytes(), 0x5A);
    std::vector<char> to(from.size());
    for (auto _ : state) {
        memcpy(to.data(), from.data(), from.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)from.size());
}

}  // namespace

BENCHMARK(BM_TLInsertUpdateList)->Arg(0)->Arg(1);
BENCHMARK(BM_TLInsertFloor);
BENCHMARK(BM_TLEncodeFloor);
BENCHMARK(BM_RSIUpdate);
BENCHMARK(BM_RSIUpdateFloor);
