// v2xshm_soak: the shared lists under load and SIGKILL.
//
// The supervisor owns every list (as `v2xshm owner` does), forks N workers
// that drive every list kind through the public managers with a random mix
// of the operations the unit's processes use, and is the killer: it SIGKILLs
// random workers at random moments, many of them while they hold a list's
// lock, replaces every dead worker and checks all the time:
//   - no operation is in flight for more than 2 s (nobody waits on a lock a
//     dead process held);
//   - an acknowledged configuration insert is never lost, even when a writer
//     was killed inside an insert;
//   - every image decodes;
//   - the consistency check of every list (counts within capacity
//     included) stays clean, and is at the end.
// Lists published whole by one process (the fix, targets, collisions, the
// location and the results) are left to their owners: their commits have no
// read-modify-write a kill could break, and their bounds have their own
// tests. So is the identifiers' uniqueness between processes
// (tests/ptc/PtcProcessTest.cpp): a kill can not tear a counter.
// The message totals are raised before the sender's row, so a kill between
// the two leaves them out of step: that known trace is counted apart, not as
// a violation.
// Workers stamp their operations and report what they find in a monitoring
// area: an anonymous shared mapping made before the first fork, so that no
// kill can leave it locked and it is no list of the unit.
//
// Run it in a private IPC namespace (unshare --ipc --map-root-user): it owns
// the lists under their fixed keys. Exit 0 only with no violation.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "v2xshm-unit/ListCheck.h"
#include "OwnerTable.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "v2xshm.h"

namespace {

constexpr int MAX_WORKERS = 64;
constexpr int MAX_KINDS = 32;
constexpr int CONFIG_KEYS = 100;  // below the list's 128 entries: every insert must be taken
constexpr int MAX_NOTES = 20;     // violations kept word for word; later ones are only counted
constexpr int NOTE_LEN = 200;
constexpr int64_t SECOND_NS = 1000000000;
constexpr int64_t OP_LIMIT_NS = 2 * SECOND_NS;  // longest an operation may take, lock wait included
constexpr int COMM_KEY = 77601, COMM_SUM_KEY = 77602;

int64_t nowNs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (int64_t)ts.tv_sec * SECOND_NS + ts.tv_nsec;
}

// ---- the monitoring area ----

struct WorkerSlot {
    std::atomic<int32_t> pid;      // 0 while no worker runs in the slot
    std::atomic<int64_t> opStart;  // CLOCK_MONOTONIC ns at the start of the current op; 0 between ops
    std::atomic<int32_t> opKind;   // index in KINDS of the current op
    std::atomic<int32_t> inLock;   // a Lock while inside a list's lock (the callback runs); 0 outside
};

// Zeroed by mmap: every counter starts at 0.
struct Monitor {
    WorkerSlot slots[MAX_WORKERS];
    std::atomic<int32_t> stop;
    std::atomic<uint64_t> ops[MAX_KINDS];
    std::atomic<uint32_t> violations;
    std::atomic<uint32_t> noteCount;
    char notes[MAX_NOTES][NOTE_LEN];
    std::atomic<uint32_t> configAcked[CONFIG_KEYS];  // 1 once an insert of the key was acknowledged
};

// Where a worker is: a kill inside the totals' lock leaves a known trace.
enum Lock { OUTSIDE = 0, IN_LIST = 1, IN_COMM_SUM = 2 };

Monitor* mon = nullptr;
WorkerSlot* mySlot = nullptr;  // the worker's own slot

// Counts a violation; its text is kept when no kept text has the same
// subject (what comes before the first colon), so that one flooding fault
// does not hide the others.
void violation(const char* format, ...)
{
    mon->violations.fetch_add(1);
    char text[NOTE_LEN];
    va_list args;
    va_start(args, format);
    vsnprintf(text, NOTE_LEN, format, args);
    va_end(args);
    size_t subject = strcspn(text, ":");
    uint32_t kept = std::min<uint32_t>(mon->noteCount.load(), MAX_NOTES);
    for (uint32_t i = 0; i < kept; ++i) {
        if (strncmp(mon->notes[i], text, subject + 1) == 0) {
            return;
        }
    }
    uint32_t n = mon->noteCount.fetch_add(1);
    if (n < MAX_NOTES) {
        memcpy(mon->notes[n], text, NOTE_LEN);
    }
}

// Runs FN on `mng`'s list under its lock, the worker marked as inside the
// lock meanwhile so that the killer can aim at that moment; FN's return code.
template <int (*FN)(void*, void*), Lock WHERE = IN_LIST, typename Mng>
int locked(Mng& mng, void* arg)
{
    return mng.operateSHMNotSafe(
        [](void* shm, void* a) {
            mySlot->inLock.store(WHERE);
            int rc = FN(shm, a);
            mySlot->inLock.store(OUTSIDE);
            return rc;
        },
        arg);
}

// ---- workers ----

// The messages a receiving process would decode, written once by the map writer.
std::vector<char> mapMessage, lightMessage, rsiMessage;

struct Worker {
    int index;
    std::mt19937 rng;
    DevConfigMng config{false};
    DevProcListMng procs{false};
    DevUIClientMng ui{false};
    DevPTCGivenIDMng givenId{false};
    PtcOBUListMng obu{false};
    PtcRSUListMng rsu{false};
    PTCListMng ptc{false};
    VehStatusMng vehicle{false};
    VehTraceMng trace{false};
    LMNodeListMng map{false};
    LMTLListMng lights{false};
    LMRSIListMng rsi{false};
    CommRecordMng comm{COMM_KEY, false};
    CommSumMng commSum{COMM_SUM_KEY, false};

    int pick(int n) { return (int)(rng() % (uint32_t)n); }
    double uniform(double lo, double hi) { return lo + (hi - lo) * (rng() / 4294967296.0); }

    GNSS fix()
    {
        GNSS g;
        g.position.longitude = SampleIntersection::CENTRE_LON + uniform(-0.01, 0.01);
        g.position.latitude = SampleIntersection::CENTRE_LAT + uniform(-0.01, 0.01);
        g.speed = (float)uniform(0, 30);
        g.heading = (float)uniform(0, 359);
        g.refreshTime();
        g.refreshMovable2D();
        return g;
    }
};

// The manager a pointer to a Worker member names.
template <auto M>
using MngOf = std::remove_reference_t<decltype(std::declval<Worker&>().*M)>;

// A read of the list: it succeeds (every image decodes).
template <auto M>
bool updateOf(Worker& w)
{
    return (w.*M).update() == 1;
}

// The list aged under its lock.
template <auto M>
bool refreshOf(Worker& w)
{
    return locked<MngOf<M>::refreshList>(w.*M, nullptr) == 1;
}

std::string configKey(int k)
{
    return "soak.key." + std::to_string(k);
}

// Reads the list: it must decode and hold every insert acknowledged before
// the read began.
bool readConfig(Worker& w, const char* where)
{
    uint32_t acked[CONFIG_KEYS];
    for (int k = 0; k < CONFIG_KEYS; ++k) {
        acked[k] = mon->configAcked[k].load();
    }
    if (!updateOf<&Worker::config>(w)) {
        return false;
    }
    for (int k = 0; k < CONFIG_KEYS; ++k) {
        if (acked[k] != 0 && w.config.configs.count(configKey(k)) == 0) {
            violation("config: acknowledged insert of %s lost, seen by %s", configKey(k).c_str(), where);
        }
    }
    return true;
}

bool insertConfig(Worker& w)
{
    int k = w.pick(CONFIG_KEYS);
    ConfigInfo entry;
    int32_t value = (int32_t)w.rng();
    entry.setValue(configKey(k).c_str(), ConfigInfo::FOUR_BYTES, &value);
    bool acked = locked<DevConfigMng::insertConfig2SHM>(w.config, &entry) == 1;
    mon->configAcked[k].fetch_or(acked ? 1 : 0);
    return acked;
}

// A participant inserted or refreshed (-1, full, is no fault), named `format` with a number below `names`.
template <auto M, typename Rec>
bool insertParticipant(Worker& w, Rec& rec, char* id, size_t idSize, const char* format, int names)
{
    snprintf(id, idSize, format, w.pick(names));
    rec.gnss = w.fix();
    return locked<MngOf<M>::insertUpdateList>(w.*M, &rec) != 0;
}

using W = Worker&;

// Decodes the writer's message into the manager's local copy, as a receiving process does.
template <auto M>
bool decodes(Worker& w, const std::vector<char>& message)
{
    int pos = 0;
    return (w.*M).DeSerialize(message.data(), &pos, (int)message.size()) == (int)message.size();
}

bool insertNodes(Worker& w)
{
    if (!decodes<&Worker::map>(w, mapMessage)) {
        return false;
    }
    for (auto& node : w.map.nodes) {
        for (auto& link : node.second.links) {
            link.second.calcPointsDis2End();
        }
    }
    std::map<int64_t, LMNodeExtend> incoming = w.map.nodes;
    return locked<LMNodeListMng::insertUpdateList>(w.map, &incoming) == 1;
}

bool insertRSI(Worker& w)
{
    if (!decodes<&Worker::rsi>(w, rsiMessage)) {
        return false;
    }
    for (LMRSIExtend& rec : w.rsi.records) {
        snprintf(rec.sourceID, sizeof rec.sourceID, "soak%d", w.pick(MAX_WORKERS));
    }
    if (w.pick(2) == 0) {
        return locked<LMRSIListMng::insertUpdateList>(w.rsi, &w.rsi.records[0]) == 1;
    }
    std::vector<LMRSIExtend> incoming = w.rsi.records;
    return locked<LMRSIListMng::insertUpdateListMulti>(w.rsi, &incoming) == 1;
}

// A message logged as the logging process does: the ring, then the totals.
bool logMessage(Worker& w)
{
    CommInfo info;
    info.commType = 1 + w.pick(3);  // 3: not counted in the totals
    info.peerId = w.pick(48);       // within the totals' 64 peers: their rows stay checked
    info.length = (uint32_t)w.pick(1500);
    info.refreshTime();
    bool ring = locked<CommRecordMng::insertOneInfo2Record>(w.comm, &info) == 1;
    return locked<CommSumMng::addOneCommRecord, IN_COMM_SUM>(w.commSum, &info) >= 0 && ring;
}

using Op = bool (*)(Worker&);  // true when the list did what it promises

// A list kind: writes (2 chances in 3, or in 4 with a refresh), reads, ages.
struct ListKind {
    const char* name;  // as the check and the tool call the list
    Op write;
    Op read;
    Op refresh = nullptr;
};

// Every list kind.
// Each worker is an RSI source of its own, so records are added and updated.
// The comm kind feeds the ring and its totals.
const ListKind KINDS[] = {
    {"procs",
     [](W w) {
         ProcFeedBlock block = {};
         snprintf(block.procName, sizeof block.procName, "soak%d", w.pick(80));
         return locked<DevProcListMng::refreshProcInList>(w.procs, &block) == 1;
     },
     updateOf<&Worker::procs>},
    {"config", insertConfig, [](W w) { return readConfig(w, "a worker's read"); }},
    {"ui",
     [](W w) {
         UIClient c(("ui" + std::to_string(w.pick(80))).c_str(), "soak", UIClient::UI_CLIENT_DEFAULT);
         if (w.pick(2) == 0) {
             return locked<DevUIClientMng::insert1Client>(w.ui, &c) > 0;
         }
         return locked<DevUIClientMng::delete1Client>(w.ui, &c) > 0;
     },
     updateOf<&Worker::ui>},
    {"givenid",
     [](W w) {
         uint16_t id = 0;
         return locked<DevPTCGivenIDMng::getNextID>(w.givenId, &id) == 1;
     },
     updateOf<&Worker::givenId>},
    {"obu", [](W w) { OBU r; return insertParticipant<&Worker::obu>(w, r, r.id, sizeof r.id, "obu%d", 300); },
     updateOf<&Worker::obu>, refreshOf<&Worker::obu>},
    {"rsu", [](W w) { RSU r; return insertParticipant<&Worker::rsu>(w, r, r.id, sizeof r.id, "rsu%d", 150); },
     updateOf<&Worker::rsu>, refreshOf<&Worker::rsu>},
    {"ptc",
     [](W w) {
         PTC r;
         r.ptcID = (uint16_t)w.pick(300);
         r.source = 1;
         return insertParticipant<&Worker::ptc>(w, r, r.sourceID, sizeof r.sourceID, "soak%d", 1);
     },
     updateOf<&Worker::ptc>, refreshOf<&Worker::ptc>},
    {"vehicle",
     [](W w) {
         int disabled = w.pick(2);
         return locked<VehStatusMng::setVehDisabledInSHM>(w.vehicle, &disabled) == 1;
     },
     updateOf<&Worker::vehicle>},
    {"trace", [](W w) { GNSS g = w.fix(); return locked<VehTraceMng::insertOneGNSS2Trace>(w.trace, &g) == 1; },
     updateOf<&Worker::trace>},
    {"map", insertNodes, updateOf<&Worker::map>, refreshOf<&Worker::map>},
    {"lights",
     [](W w) {
         std::map<int64_t, LMTrafficLightExtend> in;
         return decodes<&Worker::lights>(w, lightMessage) &&
                locked<LMTLListMng::insertUpdateList>(w.lights, &(in = w.lights.lights)) == 1;
     },
     updateOf<&Worker::lights>, refreshOf<&Worker::lights>},
    {"rsi", insertRSI, updateOf<&Worker::rsi>, refreshOf<&Worker::rsi>},
    {"comm", logMessage, [](W w) { return w.comm.update() == 1 && w.commSum.update() == 1; }},
};
constexpr int KIND_COUNT = (int)std::size(KINDS);
static_assert(KIND_COUNT <= MAX_KINDS, "monitor holds too few kinds");

// One operation of a random kind, stamped for the supervisor's 2 s watch.
void runOp(Worker& w)
{
    int kind = w.pick(KIND_COUNT);
    const ListKind& k = KINDS[kind];
    mySlot->opKind.store(kind);
    mySlot->opStart.store(nowNs());
    int which = w.pick(k.refresh != nullptr ? 4 : 3);
    const char* failed = which < 2 ? (k.write(w) ? nullptr : "write failed")
                         : which == 2 ? (k.read(w) ? nullptr : "read failed, not decodable")
                                      : (k.refresh(w) ? nullptr : "refresh failed");
    if (failed != nullptr) {
        violation("%s: %s (worker %d)", k.name, failed, w.index);
    }
    mySlot->opStart.store(0);
    mon->ops[kind].fetch_add(1);
}

[[noreturn]] void workerMain(int index, uint32_t seed)
{
    mySlot = &mon->slots[index];
    Worker w{index, std::mt19937(seed)};
    while (mon->stop.load() == 0) {
        runOp(w);
    }
    _exit(0);
}

// ---- the supervisor ----

// The command line's options, with their defaults.
int seconds = 20, workers = 8, seed = 1, killIntervalMs = 100;

uint64_t kills = 0, lockedKills = 0, commSumKills = 0;  // SIGKILLs sent; inside a lock; inside the totals'

void killEverything()
{
    for (const WorkerSlot& slot : mon->slots) {
        if (slot.pid.load() > 0) {
            kill(slot.pid.load(), SIGKILL);
        }
    }
}

// The hard deadline: whatever hangs, everything is killed and the run fails.
void onDeadline(int)
{
    killEverything();
    const char text[] = "soak: deadline passed; every process killed\nviolations: deadline\n";
    ssize_t ignored = write(STDOUT_FILENO, text, sizeof text - 1);
    (void)ignored;
    _exit(3);
}

void spawnWorker(int index, uint32_t seed)
{
    WorkerSlot& slot = mon->slots[index];
    slot.opStart.store(0);
    slot.inLock.store(OUTSIDE);
    fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
        // The managers' progress lines would drown the report.
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        workerMain(index, seed);
    }
    slot.pid.store(pid > 0 ? pid : 0);
}

// Waits 0.5 to 1.5 kill intervals and SIGKILLs a random worker; every other
// kill first waits a little for the worker to be inside a lock.
void killOne(std::mt19937& rng)
{
    usleep((useconds_t)(killIntervalMs * 500 + rng() % (uint32_t)(killIntervalMs * 1000 + 1)));
    WorkerSlot& slot = mon->slots[rng() % (uint32_t)workers];
    bool aim = rng() % 2 == 0;
    for (int spin = 0; aim && spin < 2000 && slot.inLock.load() == OUTSIDE; ++spin) {
        usleep(10);
    }
    int32_t pid = slot.pid.load();
    if (pid > 0 && kill(pid, SIGKILL) == 0) {
        usleep(1000);  // the worker is surely dead: where it was stays in its slot
        int32_t where = slot.inLock.load();
        ++kills;
        lockedKills += where != OUTSIDE ? 1 : 0;
        commSumKills += where == IN_COMM_SUM ? 1 : 0;
    }
}

// The consistency check of every list; while workers run, only copies taken
// under the lock count (a busy lock is no fault). The message totals out of
// step with their rows after a kill inside them are counted apart.
void checkLists(bool final, bool* commSumStep)
{
    ListCheckOptions options;
    options.lockWaitSeconds = final ? 3.0 : 0.5;
    for (const ListCheckResult& r : checkLists({}, options)) {
        bool outOfStep = r.name == "commsum" && commSumKills > 0 &&
                         std::all_of(r.problems.begin(), r.problems.end(), [](const std::string& p) {
                             return p.find("totals differ from the sum of the peer rows") != std::string::npos;
                         });
        if ((final || r.locked) && outOfStep) {
            *commSumStep = true;
        } else if ((final || r.locked) && r.verdict != ListCheckResult::CONSISTENT) {
            violation("%s: %s by the %s check: %s", r.name.c_str(), verdictName(r.verdict), final ? "final" : "running",
                      r.problems.empty() ? "" : r.problems[0].c_str());
        }
    }
}

// Reads the options given as NAME VALUE pairs; false on anything else.
bool parseOptions(int argc, char** argv)
{
    const std::string names[] = {"--seconds", "--workers", "--seed", "--kill-interval-ms"};
    int* values[] = {&seconds, &workers, &seed, &killIntervalMs};
    for (int i = 1; i < argc; i += 2) {
        int n = (int)(std::find(std::begin(names), std::end(names), argv[i]) - names);
        char* end = nullptr;
        long value = i + 1 < argc ? strtol(argv[i + 1], &end, 10) : -1;
        if (n == 4 || end == nullptr || *end != '\0' || value < (n == 2 ? 0 : 1) || value > 1000000) {
            return false;
        }
        *values[n] = (int)value;
    }
    return workers <= MAX_WORKERS;
}

}  // namespace

int main(int argc, char** argv)
{
    if (!parseOptions(argc, argv)) {
        fprintf(stderr, "usage: v2xshm_soak [--seconds S] [--workers N (1-%d)] [--seed N] [--kill-interval-ms MS]\n",
                MAX_WORKERS);
        return 2;
    }
    void* area = mmap(nullptr, sizeof(Monitor), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    mon = static_cast<Monitor*>(area);
    if (area == MAP_FAILED || SampleIntersection::writeMessage(&mapMessage) < 0 ||
        SampleSignal::writeLights(&lightMessage) < 0 || SampleSignal::writeRSI(&rsiMessage) < 0) {
        fprintf(stderr, "v2xshm_soak: no monitoring area, or the map writer refused the sample messages\n");
        return 1;
    }
    std::vector<std::unique_ptr<IF_SHM>> owners;
    for (const ListInfo& list : knownLists()) {
        owners.push_back(makeOwnerManager(list));
    }
    printf("soak: %d s, %d workers, seed %d, a kill every %d ms on average\n", seconds, workers, seed,
           killIntervalMs);

    signal(SIGALRM, onDeadline);
    alarm((unsigned)(seconds + 120));
    std::mt19937 rng((uint32_t)seed);
    for (int i = 0; i < workers; ++i) {
        spawnWorker(i, rng());
    }
    int64_t start = nowNs(), end = start + seconds * SECOND_NS, nextCheck = start + 2 * SECOND_NS;
    bool commSumStep = false;  // the totals seen out of step after a kill inside them
    for (bool running = true; running;) {
        int64_t now = nowNs();
        if (now >= end && mon->stop.exchange(1) == 0) {
            end = now + 30 * SECOND_NS;  // time for every worker to finish its op and leave
        }
        if (mon->stop.load() == 0) {
            killOne(rng);
        } else {
            usleep(20000);
        }
        int status;
        for (pid_t pid; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
            for (int i = 0; i < workers; ++i) {
                if (mon->slots[i].pid.load() == pid) {
                    mon->slots[i].pid.store(0);
                    if (!(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) &&
                        !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
                        violation("%s: worker %d ended with status %d in an op",
                                  KINDS[mon->slots[i].opKind.load()].name, i, status);
                    }
                    if (mon->stop.load() == 0) {
                        spawnWorker(i, rng());
                    }
                }
            }
        }
        running = mon->stop.load() == 0;
        for (int i = 0; i < workers; ++i) {
            WorkerSlot& slot = mon->slots[i];
            running = running || slot.pid.load() > 0;
            int64_t began = slot.opStart.load();
            // Reported once: the stamp is cleared unless the op ended meanwhile.
            if (slot.pid.load() > 0 && began != 0 && now - began > OP_LIMIT_NS &&
                slot.opStart.compare_exchange_strong(began, 0)) {
                violation("%s: op in flight for more than 2 s (worker %d)", KINDS[slot.opKind.load()].name, i);
            }
        }
        if (running && mon->stop.load() != 0 && now >= end) {
            violation("processes still running 30 s after the stop; killed");
            killEverything();
            while (wait(nullptr) > 0) {
            }
            running = false;
        }
        if (mon->stop.load() == 0 && now >= nextCheck) {
            nextCheck = now + 2 * SECOND_NS;
            checkLists(false, &commSumStep);
        }
    }
    alarm(0);
    double elapsed = (double)(nowNs() - start) / SECOND_NS;

    // What the lists promise, once more with every worker gone.
    Worker last{-1, std::mt19937(0)};
    if (!readConfig(last, "the final read")) {
        violation("config: the final read failed");
    }
    checkLists(true, &commSumStep);

    uint64_t total = 0;
    for (int k = 0; k < KIND_COUNT; ++k) {
        total += mon->ops[k].load();
        printf("%-12s %8.0f ops/s\n", KINDS[k].name, mon->ops[k].load() / elapsed);
    }
    printf("%-12s %8.0f ops/s\n", "all", total / elapsed);
    printf("kills survived: %llu (%llu inside a lock)\n", (unsigned long long)kills, (unsigned long long)lockedKills);
    printf("commsum: %llu writers killed inside an update; totals out of step with the rows: %s\n",
           (unsigned long long)commSumKills, commSumStep ? "yes" : "no");
    for (uint32_t i = 0; i < mon->noteCount.load() && i < MAX_NOTES; ++i) {
        printf("violation: %s\n", mon->notes[i]);
    }
    printf("violations: %u\n", mon->violations.load());
    return mon->violations.load() == 0 ? 0 : 1;
}
