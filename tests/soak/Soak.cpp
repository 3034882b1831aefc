// v2xshm_soak: the shared lists under load and SIGKILL.
//
// The supervisor owns every list (as `v2xshm owner` does), forks N workers
// that drive every list kind through the public managers with a random mix
// of the operations the unit's processes use, and a killer that SIGKILLs
// random workers at random moments, many of them while they hold a list's
// lock. The supervisor replaces every dead worker and checks all the time:
//   - no operation is in flight for more than 2 s (nobody waits on a lock a
//     dead process held);
//   - an acknowledged configuration insert is never lost;
//   - no list holds more than its capacity and every image decodes;
//   - the device-wide participant identifier never repeats within a wrap;
//   - the consistency check of every list stays clean, and is at the end.
// The message totals are raised before the sender's row, so a kill between
// the two leaves them out of step: that known trace is counted apart, not as
// a violation. A kill inside a configuration insert must lose nothing.
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
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "v2xshm-unit/ListCheck.h"
#include "OwnerTable.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "shm/DevConfigMng.h"
#include "shm/DevProcListMng.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/DevUIClientMng.h"
#include "status/VehStatusMng.h"

namespace {

constexpr int MAX_WORKERS = 64;
constexpr int CONFIG_KEYS = 100;  // below the list's 128 entries: every insert must be taken
constexpr int MAX_NOTES = 20;     // violations kept word for word; later ones are only counted
constexpr int NOTE_LEN = 200;
constexpr int64_t OP_LIMIT_NS = 2000000000;  // longest an operation may take, lock wait included
constexpr int ID_WRAP = 65535;               // draws within which an identifier may not repeat
constexpr int TARGET_KEY = 77502;            // the target list the tool and the check know
constexpr int COMM_KEY = 77601, COMM_SUM_KEY = 77602;

int64_t nowNs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (int64_t)ts.tv_sec * 1000000000 + ts.tv_nsec;
}

// ---- the monitoring area ----

struct WorkerSlot {
    std::atomic<int32_t> pid;      // 0 while no worker runs in the slot
    std::atomic<int64_t> opStart;  // CLOCK_MONOTONIC ns at the start of the current op; 0 between ops
    std::atomic<int32_t> opKind;   // index in the kind table of the current op
    std::atomic<int32_t> inLock;   // a Lock while inside a list's lock (the callback runs); 0 outside
};

constexpr int MAX_KINDS = 32;

// Zeroed by mmap: every counter starts at 0.
struct Monitor {
    WorkerSlot slots[MAX_WORKERS];
    std::atomic<int32_t> stop;
    std::atomic<uint64_t> ops[MAX_KINDS];
    std::atomic<uint64_t> kills;        // SIGKILLs the killer sent
    std::atomic<uint64_t> lockedKills;  // of those, to a worker inside a lock
    std::atomic<uint32_t> violations;
    std::atomic<uint32_t> noteCount;
    char notes[MAX_NOTES][NOTE_LEN];
    std::atomic<uint32_t> configAcked[CONFIG_KEYS];  // 1 once an insert of the key was acknowledged
    std::atomic<uint32_t> configRewriteKills;  // kills inside a config insert's lock
    std::atomic<uint32_t> commSumKills;        // kills inside the message totals' lock
    std::atomic<uint32_t> idSeen[65536];       // draws of each identifier
    std::atomic<uint64_t> idDraws;
};

// Where a worker is: the lists updated in place in several steps are told
// apart, for a kill inside them leaves a known trace (see the checks).
enum Lock { OUTSIDE = 0, IN_LIST = 1, IN_CONFIG_INSERT = 2, IN_COMM_SUM = 3 };

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

// Runs a list callback with the worker marked as inside the lock, so that
// the killer can aim at that moment.
template <int (*FN)(void*, void*), Lock WHERE = IN_LIST>
int marked(void* shm, void* arg)
{
    mySlot->inLock.store(WHERE);
    int rc = FN(shm, arg);
    mySlot->inLock.store(0);
    return rc;
}

// ---- workers ----

// The messages a receiving process would decode, written once by the map writer.
std::vector<char> mapMessage, lightMessage, rsiMessage;

struct Worker {
    int index;
    std::mt19937 rng;
    DevConfigMng config{false};
    DevProcListMng procs{false};
    DevGNSSMng gnss{false};
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
    TgtCollisionMng collisions{false};
    TargetMng targets{TARGET_KEY, false};
    LMMapResMng location{false};
    LMRSIResMng rsiResult{false};
    LMTLPhaseResMng phaseResult{false};
    CommRecordMng comm{COMM_KEY, false};
    CommSumMng commSum{COMM_SUM_KEY, false};

    int pick(int n) { return (int)(rng() % (uint32_t)n); }
    double uniform(double lo, double hi) { return lo + (hi - lo) * (rng() / 4294967296.0); }

    GNSS fix()
    {
        GNSS g;
        g.position.longitude = SampleIntersection::CENTRE_LON + uniform(-0.01, 0.01);
        g.position.latitude = SampleIntersection::CENTRE_LAT + uniform(-0.01, 0.01);
        g.position.lonHemisphere = 'E';
        g.position.latHemisphere = 'N';
        g.speed = (float)uniform(0, 30);
        g.heading = (float)uniform(0, 359);
        g.refreshTime();
        g.refreshMovable2D();
        return g;
    }
};

void expect(bool ok, const Worker& w, const char* list, const char* what, int rc)
{
    if (!ok) {
        violation("%s: %s (rc %d, worker %d)", list, what, rc, w.index);
    }
}

size_t nothingHeld() { return 0; }

// One operation on a list: `write` in `writes` of `of` picks, else a read.
// Both must succeed, and a read must find at most `capacity` records (`held`).
template <typename Mng, typename Write, typename Held = size_t (*)()>
void writeOrRead(Worker& w, const char* name, Mng& mng, int writes, int of, Write write, Held held = nothingHeld,
                 size_t capacity = 0)
{
    bool writing = w.pick(of) < writes;
    int rc = writing ? write() : mng.update();
    expect(rc == 1 && (writing || held() <= capacity), w, name,
           writing ? "write failed" : "read failed or over capacity", rc);
}

std::string configKey(int k)
{
    return "soak.key." + std::to_string(k);
}

// An acknowledged insert missing from a read of the list: a violation, even
// when a writer was killed inside an insert.
void configMissing(int k, const char* where)
{
    violation("config: acknowledged insert of %s lost, seen by %s", configKey(k).c_str(), where);
}

void opConfig(Worker& w)
{
    if (w.pick(10) < 6) {
        int k = w.pick(CONFIG_KEYS);
        ConfigInfo entry;
        int32_t value = (int32_t)w.rng();
        entry.setValue(configKey(k).c_str(), ConfigInfo::FOUR_BYTES, &value);
        int rc = w.config.operateSHMNotSafe(marked<DevConfigMng::insertConfig2SHM, IN_CONFIG_INSERT>, &entry);
        expect(rc == 1, w, "config", "insert refused", rc);
        if (rc == 1) {
            mon->configAcked[k].store(1);
        }
        return;
    }
    // Inserts acknowledged before this read began must all be in it.
    uint32_t acked[CONFIG_KEYS];
    for (int k = 0; k < CONFIG_KEYS; ++k) {
        acked[k] = mon->configAcked[k].load();
    }
    int rc = w.config.update();
    expect(rc == 1, w, "config", "update failed", rc);
    expect(w.config.configs.size() <= (size_t)DevConfigListInShm::capacity, w, "config", "over capacity",
           (int)w.config.configs.size());
    for (int k = 0; k < CONFIG_KEYS && rc == 1; ++k) {
        if (acked[k] != 0 && w.config.configs.count(configKey(k)) == 0) {
            configMissing(k, "a worker's read");
        }
    }
}

void opProcs(Worker& w)
{
    auto feed = [&w] {
        ProcFeedBlock block = {};
        snprintf(block.procName, sizeof block.procName, "soak%d", w.pick(80));
        return w.procs.operateSHMNotSafe(marked<DevProcListMng::refreshProcInList>, &block);
    };
    writeOrRead(w, "procs", w.procs, 2, 3, feed, [&w] { return w.procs.procs.size(); }, DevProcListInShm::capacity);
}

void opGNSS(Worker& w)
{
    writeOrRead(w, "gnss", w.gnss, 1, 2, [&w] {
        w.gnss.gnss = w.fix();
        return w.gnss.commit();
    });
}

void opVehicle(Worker& w)
{
    writeOrRead(w, "vehicle", w.vehicle, 1, 2, [&w] {
        int disabled = w.pick(2);
        return w.vehicle.operateSHMNotSafe(marked<VehStatusMng::setVehDisabledInSHM>, &disabled);
    });
}

void opTrace(Worker& w)
{
    writeOrRead(w, "trace", w.trace, 2, 3, [&w] {
        GNSS g = w.fix();
        return w.trace.operateSHMNotSafe(marked<VehTraceMng::insertOneGNSS2Trace>, &g);
    });
}

void opUI(Worker& w)
{
    UIClient client(("ui" + std::to_string(w.pick(80))).c_str(), "soak", UIClient::UI_CLIENT_DEFAULT);
    switch (w.pick(3)) {
    case 0:
        w.ui.operateSHMNotSafe(marked<DevUIClientMng::insert1Client>, &client);  // -1 when full
        break;
    case 1:
        w.ui.operateSHMNotSafe(marked<DevUIClientMng::delete1Client>, &client);  // -1 when not listed
        break;
    default:
        int rc = w.ui.update();
        expect(rc == 1 && w.ui.clients.size() <= (size_t)DevUIClientListInShm::capacity, w, "ui",
               "read failed or over capacity", rc);
    }
}

void opGivenId(Worker& w)
{
    uint16_t id = 0;
    if (w.pick(2) == 0) {
        int rc = w.givenId.operateSHMNotSafe(marked<DevPTCGivenIDMng::getNextID>, &id);
        expect(rc == 1, w, "givenid", "draw failed", rc);
    } else {
        id = w.givenId.getPTCGivenID();
    }
    mon->idSeen[id].fetch_add(1);
    mon->idDraws.fetch_add(1);
}

// A participant list: insert or refresh a record, age the list, or read it.
template <typename Mng, typename Rec>
void participants(Worker& w, const char* name, Mng& mng, std::vector<Rec> Mng::*local, Rec rec)
{
    int rc;
    switch (w.pick(4)) {
    case 0:
    case 1:
        rec.gnss = w.fix();
        rc = mng.operateSHMNotSafe(marked<Mng::insertUpdateList>, &rec);  // -1 when full
        expect(rc != 0, w, name, "insert failed", rc);
        break;
    case 2:
        rc = mng.operateSHMNotSafe(marked<Mng::refreshList>, nullptr);
        expect(rc >= 0, w, name, "refresh failed", rc);
        break;
    default:
        rc = mng.update();
        // The list may hold one record past its array.
        expect(rc == 1 && (mng.*local).size() <= (size_t)Mng::CAPACITY + 1, w, name, "read failed or over capacity",
               rc);
    }
}

void opPTC(Worker& w)
{
    PTC rec;
    rec.ptcID = (uint16_t)w.pick(300);
    rec.source = 1;
    strcpy(rec.sourceID, "soak");
    participants(w, "ptc", w.ptc, &PTCListMng::ptcs, rec);
}

void opOBU(Worker& w)
{
    OBU rec;
    snprintf(rec.id, sizeof rec.id, "obu%d", w.pick(300));
    participants(w, "obu", w.obu, &PtcOBUListMng::obus, rec);
}

void opRSU(Worker& w)
{
    RSU rec;
    snprintf(rec.id, sizeof rec.id, "rsu%d", w.pick(150));
    participants(w, "rsu", w.rsu, &PtcRSUListMng::rsus, rec);
}

// Targets and collisions: a round of insertTgt published whole (at times
// more than the list holds), or a read.
void opTargets(Worker& w)
{
    auto round = [&w] {
        GNSS own = w.fix();
        w.targets.targets.clear();
        for (int n = w.pick(80); n > 0; --n) {
            PTC p;
            p.gnss = w.fix();
            w.targets.insertTgt(own, &p, (unsigned char)w.pick(4), &p.vehClass);
        }
        return w.targets.commit();
    };
    writeOrRead(w, "targets", w.targets, 1, 2, round, [&w] { return w.targets.targets.size(); }, TargetMng::CAPACITY);
}

void opCollisions(Worker& w)
{
    auto round = [&w] {
        GNSS own = w.fix();
        w.collisions.collisions.clear();
        for (int n = w.pick(300); n > 0; --n) {
            PTC p;
            p.gnss = w.fix();
            w.collisions.insertTgt(own, &p, w.uniform(0, 10), w.uniform(0, 6.28), w.uniform(0, 300),
                                   (unsigned char)w.pick(4), &p.vehClass);
        }
        return w.collisions.commit();
    };
    writeOrRead(w, "collisions", w.collisions, 1, 2, round, [&w] { return w.collisions.collisions.size(); },
                TgtCollisionMng::CAPACITY);
}

// The map, light and RSI lists: merge what the writer's message decodes to,
// age the list, or read it back (every image must decode).
template <typename Mng>
int decoded(Mng& mng, const std::vector<char>& message)
{
    int pos = 0;
    return mng.DeSerialize(message.data(), &pos, (int)message.size()) == (int)message.size() ? 1 : -1;
}

template <typename Mng>
void imageList(Worker& w, const char* name, Mng& mng, int (*insert)(Worker&))
{
    int rc;
    switch (w.pick(3)) {
    case 0:
        rc = insert(w);
        expect(rc == 1, w, name, "insert failed", rc);
        break;
    case 1:
        rc = mng.operateSHMNotSafe(marked<Mng::refreshList>, nullptr);
        expect(rc == 1, w, name, "refresh failed", rc);
        break;
    default:
        rc = mng.update();
        expect(rc == 1, w, name, "image does not decode", rc);
    }
}

int insertNodes(Worker& w)
{
    if (decoded(w.map, mapMessage) != 1) {
        return -2;
    }
    for (auto& node : w.map.nodes) {
        for (auto& link : node.second.links) {
            link.second.calcPointsDis2End();
        }
    }
    std::map<int64_t, LMNodeExtend> incoming = w.map.nodes;
    return w.map.operateSHMNotSafe(marked<LMNodeListMng::insertUpdateList>, &incoming);
}

int insertLights(Worker& w)
{
    if (decoded(w.lights, lightMessage) != 1) {
        return -2;
    }
    std::map<int64_t, LMTrafficLightExtend> incoming = w.lights.lights;
    return w.lights.operateSHMNotSafe(marked<LMTLListMng::insertUpdateList>, &incoming);
}

int insertRSI(Worker& w)
{
    if (decoded(w.rsi, rsiMessage) != 1) {
        return -2;
    }
    // Each worker is a source of its own, so records are both added and updated.
    for (LMRSIExtend& rec : w.rsi.records) {
        snprintf(rec.sourceID, sizeof rec.sourceID, "soak%d", w.pick(MAX_WORKERS));
    }
    if (w.pick(2) == 0) {
        return w.rsi.operateSHMNotSafe(marked<LMRSIListMng::insertUpdateList>, &w.rsi.records[0]);
    }
    std::vector<LMRSIExtend> incoming = w.rsi.records;
    return w.rsi.operateSHMNotSafe(marked<LMRSIListMng::insertUpdateListMulti>, &incoming);
}

void opMap(Worker& w) { imageList(w, "map", w.map, insertNodes); }
void opLights(Worker& w) { imageList(w, "lights", w.lights, insertLights); }
void opRSI(Worker& w) { imageList(w, "rsi", w.rsi, insertRSI); }

// The message ring and its totals, as the logging process feeds them.
void opComm(Worker& w)
{
    int rc;
    if (w.pick(3) > 0) {
        CommInfo info;
        info.commType = 1 + w.pick(3);  // 3: not counted in the totals
        info.peerId = w.pick(48);       // within the totals' 64 peers: their rows stay checked
        info.length = (uint32_t)w.pick(1500);
        info.refreshTime();
        rc = w.comm.operateSHMNotSafe(marked<CommRecordMng::insertOneInfo2Record>, &info);
        expect(rc == 1, w, "comm", "insert failed", rc);
        rc = w.commSum.operateSHMNotSafe(marked<CommSumMng::addOneCommRecord, IN_COMM_SUM>, &info);
        expect(rc >= 0, w, "commsum", "add failed", rc);
    } else {
        rc = w.comm.update();
        expect(rc == 1, w, "comm", "update failed", rc);
        rc = w.commSum.update();
        expect(rc == 1, w, "commsum", "update failed", rc);
    }
}

// Results published whole by the evaluating process: commit more than the
// list holds at times, or read back.
template <typename Mng, typename Rec>
void results(Worker& w, const char* name, Mng& mng, std::vector<Rec>& local, size_t capacity)
{
    auto publish = [&] {
        local.assign((size_t)w.pick((int)capacity + 4), Rec());
        return mng.commit();
    };
    writeOrRead(w, name, mng, 1, 2, publish, [&local] { return local.size(); }, capacity);
}

void opPhaseResult(Worker& w)
{
    results(w, "phaseresult", w.phaseResult, w.phaseResult.phaseResults, LMTLPhaseListInShm::capacity);
}

void opRSIResult(Worker& w)
{
    results(w, "rsiresult", w.rsiResult, w.rsiResult.rsiResults, LMRSIListInShm::capacity);
}

void opLocation(Worker& w)
{
    writeOrRead(w, "location", w.location, 1, 2, [&w] {
        w.location.mapRes.nodeId = SampleIntersection::CENTRE_NODE;
        w.location.mapRes.dis2StopLine = w.uniform(0, 200);
        return w.location.commit();
    });
}

struct ListKind {
    const char* name;  // as the check and the tool call the list
    void (*run)(Worker&);
};

// Every list kind with its mix of operations. The comm kind feeds the ring and its totals.
const ListKind KINDS[] = {
    {"procs", opProcs},     {"config", opConfig},   {"gnss", opGNSS},         {"ui", opUI},
    {"givenid", opGivenId}, {"obu", opOBU},         {"rsu", opRSU},           {"ptc", opPTC},
    {"vehicle", opVehicle}, {"trace", opTrace},     {"map", opMap},           {"lights", opLights},
    {"rsi", opRSI},         {"collisions", opCollisions}, {"targets", opTargets}, {"location", opLocation},
    {"rsiresult", opRSIResult}, {"phaseresult", opPhaseResult}, {"comm", opComm},
};
const int KIND_COUNT = sizeof KINDS / sizeof KINDS[0];
static_assert(sizeof KINDS / sizeof KINDS[0] <= MAX_KINDS, "monitor holds too few kinds");

[[noreturn]] void workerMain(int index, uint32_t seed)
{
    mySlot = &mon->slots[index];
    Worker w{index, std::mt19937(seed)};
    while (mon->stop.load() == 0) {
        int kind = w.pick(KIND_COUNT);
        mySlot->opKind.store(kind);
        mySlot->opStart.store(nowNs());
        KINDS[kind].run(w);
        mySlot->opStart.store(0);
        mySlot->inLock.store(0);
        mon->ops[kind].fetch_add(1);
    }
    _exit(0);
}

// Kills a random worker every interval (0.5 to 1.5 times it); every other
// kill waits a little for the worker to be inside a lock first.
[[noreturn]] void killerMain(int workers, int intervalMs, uint32_t seed)
{
    std::mt19937 rng(seed);
    while (mon->stop.load() == 0) {
        usleep((useconds_t)(intervalMs * 500 + rng() % (uint32_t)(intervalMs * 1000 + 1)));
        WorkerSlot& slot = mon->slots[rng() % (uint32_t)workers];
        if (rng() % 2 == 0) {
            for (int spin = 0; spin < 2000 && slot.inLock.load() == 0 && mon->stop.load() == 0; ++spin) {
                usleep(10);
            }
        }
        int32_t pid = slot.pid.load();
        // A kill inside a config insert is counted before it lands, so that
        // no read can see its loss first; the slot is looked at again once
        // the worker is surely dead, for one that entered a lock meanwhile.
        bool inConfig = slot.inLock.load() == IN_CONFIG_INSERT;
        if (inConfig) {
            mon->configRewriteKills.fetch_add(1);
        }
        if (pid > 0 && mon->stop.load() == 0 && kill(pid, SIGKILL) == 0) {
            mon->kills.fetch_add(1);
            usleep(1000);
            int32_t where = slot.inLock.load();
            mon->lockedKills.fetch_add(where != OUTSIDE ? 1 : 0);
            mon->configRewriteKills.fetch_add(where == IN_CONFIG_INSERT && !inConfig ? 1 : 0);
            mon->commSumKills.fetch_add(where == IN_COMM_SUM ? 1 : 0);
        }
    }
    _exit(0);
}

// ---- the supervisor ----

struct Options {
    int seconds = 20;
    int workers = 8;
    uint32_t seed = 1;
    int killIntervalMs = 100;
};

pid_t killerPid = 0;

void killEverything()
{
    for (int i = 0; i < MAX_WORKERS; ++i) {
        if (mon->slots[i].pid.load() > 0) {
            kill(mon->slots[i].pid.load(), SIGKILL);
        }
    }
    if (killerPid > 0) {
        kill(killerPid, SIGKILL);
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

pid_t spawnWorker(int index, uint32_t seed)
{
    WorkerSlot& slot = mon->slots[index];
    slot.opStart.store(0);
    slot.inLock.store(0);
    fflush(stdout);
    pid_t pid = fork();
    if (pid == 0) {
        // The managers' progress lines would drown the report.
        int devNull = open("/dev/null", O_WRONLY);
        dup2(devNull, STDOUT_FILENO);
        workerMain(index, seed);
    }
    slot.pid.store(pid > 0 ? pid : 0);
    return pid;
}

// No identifier may come twice within ID_WRAP draws, so none may have been
// drawn more often than the wraps the draws span. A worker killed between
// its draw and its note loses one draw: the killer's count bounds those.
bool idsRepeat(bool report)
{
    uint32_t most = 0, which = 0;
    for (uint32_t id = 0; id < 65536; ++id) {
        uint32_t n = mon->idSeen[id].load();
        if (n > most) {
            most = n;
            which = id;
        }
    }
    uint64_t draws = mon->idDraws.load() + mon->kills.load();
    uint64_t bound = (draws + ID_WRAP - 1) / ID_WRAP;
    if (most > bound && report) {
        violation("givenid: identifier %u drawn %u times within %llu draws", which, most, (unsigned long long)draws);
    }
    return most > bound;
}

// The message totals are raised before the sender's row: a writer killed in
// between leaves them out of step for good, the known cost of that order.
bool commSumOutOfStep(const ListCheckResult& r)
{
    if (r.name != "commsum" || mon->commSumKills.load() == 0) {
        return false;
    }
    for (const std::string& problem : r.problems) {
        if (problem.find("totals differ from the sum of the peer rows") == std::string::npos) {
            return false;
        }
    }
    return true;
}

// The consistency check of every list; while workers run, only copies taken
// under the lock count (a busy lock is no fault).
int damagedLists(bool final, const char* when, bool* commSumStep)
{
    ListCheckOptions options;
    options.lockWaitSeconds = final ? 3.0 : 0.5;
    int damaged = 0;
    for (const ListCheckResult& r : checkLists({}, options)) {
        bool counts = final || r.locked;
        if (counts && commSumOutOfStep(r)) {
            *commSumStep = true;
        } else if (counts && r.verdict != ListCheckResult::CONSISTENT) {
            ++damaged;
            violation("%s: %s by the %s check: %s", r.name.c_str(), verdictName(r.verdict), when,
                      r.problems.empty() ? "" : r.problems[0].c_str());
        }
    }
    return damaged;
}

bool parseOptions(int argc, char** argv, Options* o)
{
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        int* target = arg == "--seconds" ? &o->seconds
                      : arg == "--workers" ? &o->workers
                      : arg == "--kill-interval-ms" ? &o->killIntervalMs
                      : nullptr;
        if (i + 1 >= argc || (target == nullptr && arg != "--seed")) {
            return false;
        }
        char* end = nullptr;
        long value = strtol(argv[++i], &end, 10);
        if (*end != '\0' || value < (target == nullptr ? 0 : 1) || value > 1000000) {
            return false;
        }
        if (target != nullptr) {
            *target = (int)value;
        } else {
            o->seed = (uint32_t)value;
        }
    }
    return o->workers <= MAX_WORKERS;
}

}  // namespace

int main(int argc, char** argv)
{
    Options o;
    if (!parseOptions(argc, argv, &o)) {
        fprintf(stderr, "usage: v2xshm_soak [--seconds S] [--workers N (1-%d)] [--seed N] [--kill-interval-ms MS]\n",
                MAX_WORKERS);
        return 2;
    }
    if (SampleIntersection::writeMessage(&mapMessage) < 0 || SampleSignal::writeLights(&lightMessage) < 0 ||
        SampleSignal::writeRSI(&rsiMessage) < 0) {
        fprintf(stderr, "v2xshm_soak: the map writer refused the sample messages\n");
        return 1;
    }
    void* area = mmap(nullptr, sizeof(Monitor), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (area == MAP_FAILED) {
        perror("v2xshm_soak: mmap");
        return 1;
    }
    mon = static_cast<Monitor*>(area);

    std::vector<std::unique_ptr<IF_SHM>> owners;
    for (const ListInfo& list : knownLists()) {
        owners.push_back(makeOwnerManager(list));
    }
    printf("soak: %d s, %d workers, seed %u, a kill every %d ms on average\n", o.seconds, o.workers, o.seed,
           o.killIntervalMs);

    signal(SIGALRM, onDeadline);
    alarm((unsigned)(o.seconds + 120));
    std::mt19937 rng(o.seed);
    for (int i = 0; i < o.workers; ++i) {
        spawnWorker(i, rng());
    }
    fflush(stdout);
    killerPid = fork();
    if (killerPid == 0) {
        killerMain(o.workers, o.killIntervalMs, rng());
    }

    uint64_t reaped = 0;
    int64_t start = nowNs(), end = start + (int64_t)o.seconds * 1000000000, nextCheck = start + 2000000000;
    int64_t flagged[MAX_WORKERS] = {};
    bool idsReported = false;
    bool commSumStep = false;  // the totals seen out of step after a kill inside them
    while (true) {
        int64_t now = nowNs();
        bool stopping = now >= end;
        if (stopping && mon->stop.exchange(1) == 0) {
            end = now + 30LL * 1000000000;  // time for every process to finish its op and leave
        }
        int status;
        pid_t pid;
        while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
            bool killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
            bool clean = WIFEXITED(status) && WEXITSTATUS(status) == 0;
            if (pid == killerPid) {
                killerPid = 0;
                if (!clean) {
                    violation("killer ended with status %d", status);
                }
                continue;
            }
            for (int i = 0; i < o.workers; ++i) {
                if (mon->slots[i].pid.load() != pid) {
                    continue;
                }
                mon->slots[i].pid.store(0);
                if (killed) {
                    ++reaped;
                } else if (!clean) {
                    violation("%s: worker %d (pid %d) ended with status %d in an op", KINDS[mon->slots[i].opKind.load()].name,
                              i, (int)pid, status);
                }
                if (mon->stop.load() == 0) {
                    spawnWorker(i, rng());
                }
            }
        }
        bool running = killerPid > 0;
        for (int i = 0; i < o.workers; ++i) {
            WorkerSlot& slot = mon->slots[i];
            running = running || slot.pid.load() > 0;
            int64_t began = slot.opStart.load();
            if (slot.pid.load() > 0 && began != 0 && now - began > OP_LIMIT_NS && flagged[i] != began) {
                flagged[i] = began;
                violation("%s: op in flight for more than %.1f s (worker %d)", KINDS[slot.opKind.load()].name,
                          OP_LIMIT_NS / 1e9, i);
            }
        }
        if (mon->stop.load() != 0 && !running) {
            break;
        }
        if (mon->stop.load() != 0 && now >= end) {
            violation("processes still running %d s after the stop; killed", 30);
            killEverything();
            while (wait(nullptr) > 0) {
            }
            break;
        }
        if (mon->stop.load() == 0 && now >= nextCheck) {
            nextCheck = now + 2000000000;
            damagedLists(false, "running", &commSumStep);
            if (!idsReported) {
                idsReported = idsRepeat(true);
            }
        }
        usleep(20000);
    }
    alarm(0);
    double elapsed = (nowNs() - start) / 1e9;

    // What the lists promise, once more with every worker gone.
    if (!idsReported) {
        idsRepeat(true);
    }
    DevConfigMng config(false);
    config.update();
    for (int k = 0; k < CONFIG_KEYS; ++k) {
        if (mon->configAcked[k].load() != 0 && config.configs.count(configKey(k)) == 0) {
            configMissing(k, "the final read");
        }
    }
    int damaged = damagedLists(true, "final", &commSumStep);

    printf("%-12s %10s %10s\n", "list", "ops", "ops/s");
    uint64_t total = 0;
    for (int k = 0; k < KIND_COUNT; ++k) {
        uint64_t n = mon->ops[k].load();
        total += n;
        printf("%-12s %10llu %10.0f\n", KINDS[k].name, (unsigned long long)n, n / elapsed);
    }
    printf("%-12s %10llu %10.0f\n", "all", (unsigned long long)total, total / elapsed);
    printf("identifiers drawn: %llu\n", (unsigned long long)mon->idDraws.load());
    printf("kills survived: %llu (%llu inside a lock)\n", (unsigned long long)reaped,
           (unsigned long long)mon->lockedKills.load());
    printf("config: %u writers killed inside an insert\n", mon->configRewriteKills.load());
    printf("commsum: %u writers killed inside an update; totals out of step with the rows: %s\n",
           mon->commSumKills.load(), commSumStep ? "yes" : "no");
    printf("final check: %zu lists, %d not consistent\n", knownLists().size(), damaged);
    uint32_t violations = mon->violations.load();
    for (uint32_t i = 0; i < mon->noteCount.load() && i < MAX_NOTES; ++i) {
        printf("violation: %s\n", mon->notes[i]);
    }
    printf("violations: %u\n", violations);
    return violations == 0 ? 0 : 1;
}
