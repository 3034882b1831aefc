// Transfers of the shared-memory store beside their floors: a commit against
// zeroing and copying the same bytes into the same segment, an update against
// copying them out, the list lock against a bare semop pair and a
// process-shared pthread mutex.
#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <vector>

#include "shm/DevConfigMng.h"
#include "shm/IFSHM.h"
#include "shm/SHMTool.h"

namespace {

constexpr int CONFIG_SIZE = DevConfigMng::SHM_SIZE;
constexpr int MIB = 1048576;
constexpr int BIG_KEY = 77999;    // spare key for the 1 MiB list
constexpr int MUTEX_KEY = 77998;  // spare key for the mutex's segment

// A list of raw bytes with the manager's transfers, and a view of its segment
// for the floors.
class BenchList : public IF_SHM {
public:
    BenchList(int key, int size) : IF_SHM(key, size, true) {}
    int update() override { return 1; }
    void* segment() const { return shmAddr; }
    int sem() const { return semId; }
};

// The lists live for the whole run; the owner's destruction at exit removes them.
BenchList& listOfSize(int size)
{
    static std::unique_ptr<BenchList> config(new BenchList(DevConfigMng::SHM_KEY, CONFIG_SIZE));
    static std::unique_ptr<BenchList> big(new BenchList(BIG_KEY, MIB));
    return size == CONFIG_SIZE ? *config : *big;
}

void BM_Commit2SHM(benchmark::State& state)
{
    int size = (int)state.range(0);
    BenchList& list = listOfSize(size);
    std::vector<char> image(size, 0x5A);
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.commit2SHM(image.data(), size));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)size);
}

void BM_CommitFloor(benchmark::State& state)
{
    int size = (int)state.range(0);
    void* seg = listOfSize(size).segment();
    std::vector<char> image(size, 0x5A);
    for (auto _ : state) {
        memset(seg, 0, size);
        memcpy(seg, image.data(), size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)size);
}

void BM_UpdateFromSHM(benchmark::State& state)
{
    int size = (int)state.range(0);
    BenchList& list = listOfSize(size);
    std::vector<char> image(size);
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.updateFromSHM(image.data(), size));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)size);
}

void BM_UpdateFloor(benchmark::State& state)
{
    int size = (int)state.range(0);
    const void* seg = listOfSize(size).segment();
    std::vector<char> image(size);
    for (auto _ : state) {
        memcpy(image.data(), seg, size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)size);
}

// The manager's own transfers of a full config list (128 entries, map included).
void BM_ConfigMngCommitFull(benchmark::State& state)
{
    listOfSize(CONFIG_SIZE);
    DevConfigMng mng(false);
    for (int i = 0; i < DevConfigListInShm::capacity; ++i) {
        int32_t v = i;
        mng.insertConfig(("key" + std::to_string(1000 + i)).c_str(), ConfigInfo::FOUR_BYTES, &v);
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.commit());
    }
}

void BM_ConfigMngUpdateFull(benchmark::State& state)
{
    listOfSize(CONFIG_SIZE);
    DevConfigMng mng(false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(mng.update());
    }
    state.counters["entries"] = (double)mng.configs.size();
}

void BM_SemaphorePV(benchmark::State& state)
{
    int semId = listOfSize(CONFIG_SIZE).sem();
    for (auto _ : state) {
        SHMTool::semaphore_p(semId);
        SHMTool::semaphore_v(semId);
    }
}

void BM_SemopPairFloor(benchmark::State& state)
{
    int semId = listOfSize(CONFIG_SIZE).sem();
    struct sembuf down = {0, -1, SEM_UNDO};
    struct sembuf up = {0, 1, SEM_UNDO};
    for (auto _ : state) {
        semop(semId, &down, 1);
        semop(semId, &up, 1);
    }
}

void BM_SharedMutexPair(benchmark::State& state)
{
    int id = shmget(MUTEX_KEY, sizeof(pthread_mutex_t), IPC_CREAT | 0666);
    void* addr = shmat(id, nullptr, 0);
    if (id == -1 || addr == (void*)-1) {
        state.SkipWithError("no segment for the mutex");
        return;
    }
    pthread_mutex_t* mutex = (pthread_mutex_t*)addr;
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
    pthread_mutex_init(mutex, &attr);
    for (auto _ : state) {
        pthread_mutex_lock(mutex);
        pthread_mutex_unlock(mutex);
    }
    pthread_mutex_destroy(mutex);
    pthread_mutexattr_destroy(&attr);
    shmdt(addr);
    shmctl(id, IPC_RMID, nullptr);
}

}  // namespace

BENCHMARK(BM_Commit2SHM)->Arg(CONFIG_SIZE)->Arg(MIB);
BENCHMARK(BM_CommitFloor)->Arg(CONFIG_SIZE)->Arg(MIB);
BENCHMARK(BM_UpdateFromSHM)->Arg(CONFIG_SIZE)->Arg(MIB);
BENCHMARK(BM_UpdateFloor)->Arg(CONFIG_SIZE)->Arg(MIB);
BENCHMARK(BM_ConfigMngCommitFull);
BENCHMARK(BM_ConfigMngUpdateFull);
BENCHMARK(BM_SemaphorePV);
BENCHMARK(BM_SemopPairFloor);
BENCHMARK(BM_SharedMutexPair);
