// The participant lists beside their floors: refreshing one participant in a
// full list (the linear scan under the lock) against a bare semop pair around
// the same scan done with memcmp and the same copy, and update() of a full
// list against one memcpy of its segment, bare and under the lock.
#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <sys/sem.h>
#include <vector>

#include "ptc/PTCListMng.h"

namespace {

// The list with its segment and lock in view, for the floors.
class BenchPtcList : public PTCListMng {
public:
    BenchPtcList() : PTCListMng(true) {}
    char* segment() const { return (char*)shmAddr; }
    int sem() const { return semId; }
};

PTC participant(int i)
{
    PTC p;
    p.ptcID = (uint16_t)i;
    p.source = 1;
    strcpy(p.sourceID, "radar-front");
    return p;
}

// A list of 256 participants, alive for the whole run.
BenchPtcList& fullList()
{
    static std::unique_ptr<BenchPtcList> list;
    if (!list) {
        list.reset(new BenchPtcList);
        for (int i = 0; i < PTCListMng::CAPACITY; ++i) {
            PTC p = participant(i);
            list->operateSHMNotSafe(PTCListMng::insertUpdateList, &p);
        }
    }
    return *list;
}

// The last of 256: the whole list is scanned before it is found.
void BM_PtcRefreshInFullList(benchmark::State& state)
{
    BenchPtcList& list = fullList();
    PTC p = participant(PTCListMng::CAPACITY - 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.operateSHMNotSafe(PTCListMng::insertUpdateList, &p));
    }
}

void BM_PtcRefreshFloor(benchmark::State& state)
{
    BenchPtcList& list = fullList();
    PTC p = participant(PTCListMng::CAPACITY - 1);
    struct sembuf down = {0, -1, SEM_UNDO};
    struct sembuf up = {0, 1, SEM_UNDO};
    const size_t idAt = offsetof(PTC, ptcID), sourceAt = offsetof(PTC, source), sourceIdAt = offsetof(PTC, sourceID);
    for (auto _ : state) {
        semop(list.sem(), &down, 1);
        char* rec = list.segment() + sizeof(int32_t);
        for (int i = 0; i < PTCListMng::CAPACITY; ++i, rec += sizeof(PTC)) {
            if (memcmp(rec + idAt, (char*)&p + idAt, 2) == 0 && rec[sourceAt] == ((char*)&p)[sourceAt] &&
                memcmp(rec + sourceIdAt, (char*)&p + sourceIdAt, PTC::TEXT_LEN) == 0) {
                memcpy(rec, (const void*)&p, sizeof p);
                break;
            }
        }
        semop(list.sem(), &up, 1);
        benchmark::ClobberMemory();
    }
}

void BM_PtcUpdateFullList(benchmark::State& state)
{
    fullList();
    PTCListMng reader(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.update());
    }
    state.counters["records"] = (double)reader.ptcs.size();
}

void BM_PtcUpdateFloor(benchmark::State& state)
{
    const char* seg = fullList().segment();
    std::vector<char> image(PTCListMng::SHM_SIZE);
    for (auto _ : state) {
        memcpy(image.data(), seg, image.size());
        benchmark::ClobberMemory();
    }
}

// The same copy under the list's lock: what any consistent read must pay.
void BM_PtcUpdateLockedFloor(benchmark::State& state)
{
    BenchPtcList& list = fullList();
    std::vector<char> image(PTCListMng::SHM_SIZE);
    struct sembuf down = {0, -1, SEM_UNDO};
    struct sembuf up = {0, 1, SEM_UNDO};
    for (auto _ : state) {
        semop(list.sem(), &down, 1);
        memcpy(image.data(), list.segment(), image.size());
        semop(list.sem(), &up, 1);
        benchmark::ClobberMemory();
    }
}

}  // namespace

BENCHMARK(BM_PtcRefreshInFullList);
BENCHMARK(BM_PtcRefreshFloor);
BENCHMARK(BM_PtcUpdateFullList);
BENCHMARK(BM_PtcUpdateFloor);
BENCHMARK(BM_PtcUpdateLockedFloor);
