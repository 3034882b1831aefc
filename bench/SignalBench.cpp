// The signal and road-side information lists beside their floors: a received
// list of 8, 64 or 256 traffic lights put into the light list's segment (the
// same lights already stored, as when a controller's broadcast arrives again;
// and beside as many other lights that stay) against writing the received
// lights' images and moving the kept ones' bytes; and
// rebuilding the local RSI vector from about 512 KiB of records against
// copying those bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <vector>

#include "BenchLists.h"
#include "ListFloor.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

namespace {

constexpr int PHASES = 8;       // per light
constexpr int RSI_RECORDS = 512;
constexpr int RSI_POINTS = 20;  // per record: 323 + 20 * 34 = 1003 bytes

using LightMap = std::map<int64_t, LMTrafficLightExtend>;

LightMap lightsFrom(int64_t firstId, int count)
{
    LightMap lights;
    for (int i = 0; i < count; ++i) {
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
    return lightListOwner();
}

// N lights received (argument 0) while the segment holds the same N, as when
// a controller's broadcast arrives again; with argument 1 = 1 the segment
// also holds N other lights not received this time, which stay ahead of the
// received ones (keys below theirs).
void BM_TLInsert(benchmark::State& state)
{
    int count = (int)state.range(0);
    LMTLListMng& mng = lightList();
    const LightMap received = lightsFrom(100000, count);
    mng.lights = received;
    if (state.range(1) == 1) {
        for (const auto& entry : lightsFrom(1000, count)) {
            mng.lights.insert(entry);
        }
    }
    // The callback on a copy of the segment: the list lock that
    // operateSHMNotSafe takes around it is measured apart (BM_SemaphorePV).
    std::vector<char> image(LMTLListMng::SHM_SIZE);
    if (mng.commit() != 1 || mng.updateFromSHM(image.data(), LMTLListMng::SHM_SIZE) != 1) {
        state.SkipWithError("the lights do not fit the segment");
        return;
    }
    LightMap incoming = received;
    for (auto _ : state) {
        if (LMTLListMng::insertUpdateList(image.data(), &incoming) != 1) {
            state.SkipWithError("insertUpdateList failed");
            return;
        }
    }
    state.counters["list_bytes"] = (double)flatBytes(received);
    state.SetBytesProcessed(state.iterations() * (int64_t)flatBytes(received));
}

// What any insert must do: write the N received lights' images (they arrive
// as maps of phases and states) and, with argument 1 = 1, move the N kept
// lights' bytes to the front of the list (memmove within one buffer).
void BM_TLInsertFloor(benchmark::State& state)
{
    int count = (int)state.range(0);
    const LightMap lights = lightsFrom(100000, count);
    const int keptBytes = state.range(1) == 1 ? flatBytes(lightsFrom(1000, count)) : 0;
    std::vector<char> to(4 + 2 * (size_t)keptBytes + (size_t)flatBytes(lights), 0x5A);
    for (auto _ : state) {
        memmove(to.data() + 4, to.data() + 4 + keptBytes, (size_t)keptBytes);
        int pos = 4 + keptBytes;
        for (const auto& entry : lights) {
            entry.second.Obj2Buff(to.data(), &pos);
        }
        benchmark::ClobberMemory();
    }
}

// Copying the N received lights' bytes: what the insert would cost if the
// lights arrived as images.
void BM_TLMemcpyFloor(benchmark::State& state)
{
    std::vector<char> from((size_t)flatBytes(lightsFrom(100000, (int)state.range(0))), 0x5A);
    std::vector<char> to(from.size());
    for (auto _ : state) {
        memcpy(to.data(), from.data(), from.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)from.size());
}

// The light list's update() of 256 lights against its floor: copying the
// image's bytes and decoding them into the same reused map.
constexpr int UPDATE_LIGHTS = 256;

void BM_TLUpdate(benchmark::State& state)
{
    LMTLListMng& mng = lightList();
    mng.lights = lightsFrom(100000, UPDATE_LIGHTS);
    if (mng.commit() != 1) {
        state.SkipWithError("the lights do not fit the segment");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.update());
    }
    state.counters["image_bytes"] = (double)(4 + flatBytes(mng.lights));
}

void BM_TLUpdateFloor(benchmark::State& state)
{
    LMTLListMng& mng = lightList();
    mng.lights = lightsFrom(100000, UPDATE_LIGHTS);
    int image = 4 + flatBytes(mng.lights);
    std::vector<char> copy(LMTLListMng::SHM_SIZE);
    const char* segment = mng.commit() == 1 ? benchfloor::attachSegment(LMTLListMng::SHM_KEY) : nullptr;
    if (segment == nullptr) {
        state.SkipWithError("the lights do not fit the segment");
        return;
    }
    LightMap lights = mng.lights;
    for (auto _ : state) {
        benchfloor::copyAndDecode(segment, image, &copy, &lights);
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

LMRSIListMng& rsiList()
{
    return rsiListOwner();
}

void BM_RSIUpdate(benchmark::State& state)
{
    LMRSIListMng& mng = rsiList();
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
    LMRSIListMng& mng = rsiList();
    mng.records = rsiRecords();
    std::vector<char> copy(LMRSIListMng::SHM_SIZE);
    const char* segment = mng.commit() == 1 ? benchfloor::attachSegment(LMRSIListMng::SHM_KEY) : nullptr;
    if (segment == nullptr) {
        state.SkipWithError("the records do not fit the segment");
        return;
    }
    std::vector<LMRSIExtend> records = mng.records;
    const int bytes = rsiBytes();
    for (auto _ : state) {
        benchfloor::copyAndDecode(segment, bytes, &copy, &records);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)bytes);
}

}  // namespace

// Arguments: lights received; 1 with as many kept lights, 0 without.
BENCHMARK(BM_TLInsert)->ArgsProduct({{8, 64, 256}, {0, 1}});
BENCHMARK(BM_TLInsertFloor)->ArgsProduct({{8, 64, 256}, {0, 1}});
BENCHMARK(BM_TLMemcpyFloor)->Arg(64);
BENCHMARK(BM_TLUpdate);
BENCHMARK(BM_TLUpdateFloor);
BENCHMARK(BM_RSIUpdate);
BENCHMARK(BM_RSIUpdateFloor);
