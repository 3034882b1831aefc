#include "v2xshm-unit/ListCheck.h"

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <time.h>
#include <type_traits>
#include <utility>
#include <unistd.h>

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
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/DevUIClientMng.h"
#include "status/VehStatusMng.h"

namespace {

// What one list's analysis works on and writes to.
struct Analysis {
    const char* image;  // the copy of the segment, `reach` bytes
    double latest;      // refresh times after this are in the future
    ListCheckResult* out;
    int futureCount = 0;
    int firstFuture = -1;
    double maxLead = 0.0;
    int nonFiniteCount = 0;  // stamps that are no time at all (NaN, infinite)
    int firstNonFinite = -1;

    void figure(const char* name, long long value) { out->figures.emplace_back(name, value); }
    void problem(const std::string& text) { out->problems.push_back(text); }

    template <typename T>
    T read(long offset) const
    {
        T value;
        memcpy((void*)&value, image + offset, sizeof value);
        return value;
    }

    // Every record with a refresh time starts with it.
    void stamp(int index, double refreshTime)
    {
        if (!std::isfinite(refreshTime)) {
            if (nonFiniteCount++ == 0) {
                firstNonFinite = index;
            }
        } else if (refreshTime > latest) {
            if (futureCount++ == 0) {
                firstFuture = index;
            }
            double lead = refreshTime - latest;
            maxLead = lead > maxLead ? lead : maxLead;
        }
    }
    void stampAt(int index, long offset) { stamp(index, read<double>(offset)); }

    void finish(double tolerance)
    {
        if (futureCount > 0) {
            char text[160];
            snprintf(text, sizeof text,
                     "%d refresh time(s) in the future (first at record %d, up to %.1f s ahead)",
                     futureCount, firstFuture, maxLead + tolerance);
            problem(text);
        }
        if (nonFiniteCount > 0) {
            char text[160];
            snprintf(text, sizeof text, "%d refresh time(s) not a finite time (first at record %d)", nonFiniteCount,
                     firstNonFinite);
            problem(text);
        }
    }
};

std::string format(const char* fmt, long long a, long long b = 0)
{
    char text[160];
    snprintf(text, sizeof text, fmt, a, b);
    return text;
}

// A count followed by an array of records; `maxListed` is the capacity, or
// one more for the participant lists, whose insert lets one record past the
// array. Refresh times are checked when the records carry them.
template <typename List, bool STAMPED>
void checkCounted(Analysis& a, int maxListed)
{
    using Rec = typename std::remove_reference<decltype(std::declval<List&>().items[0])>::type;
    int32_t count = a.read<int32_t>(0);
    a.figure("count", count);
    a.figure("capacity", List::capacity);
    if (count < 0 || count > maxListed) {
        a.problem(format("count %lld outside 0..%lld", count, maxListed));
        return;
    }
    if (STAMPED) {
        for (int i = 0; i < count; ++i) {
            a.stampAt(i, (long)sizeof(int32_t) + (long)i * (long)sizeof(Rec));
        }
    }
}

template <typename List>
void stamped(Analysis& a)
{
    checkCounted<List, true>(a, List::capacity);
}

template <typename List, typename Mng>
void participants(Analysis& a)
{
    checkCounted<List, true>(a, Mng::Tool::MAX_LISTED);
}

void config(Analysis& a)
{
    checkCounted<DevConfigListInShm, false>(a, DevConfigListInShm::capacity);
    int32_t count = a.read<int32_t>(0);
    if (count < 0 || count > DevConfigListInShm::capacity) {
        return;
    }
    // Keys compare as the manager compares them: up to the first zero or the
    // field's 16 bytes, byte by byte.
    // One entry twice side by side, whole, is what a writer killed inside
    // an insert leaves; the next insert removes it and readers lose nothing.
    std::string previous;
    ConfigInfo before;
    for (int i = 0; i < count; ++i) {
        ConfigInfo info = a.read<ConfigInfo>(4 + (long)i * (long)sizeof(ConfigInfo));
        std::string key(info.key, strnlen(info.key, ConfigInfo::KEY_LEN));
        bool repeated = i > 0 && previous == key && memcmp(&before, &info, sizeof info) == 0;
        before = info;
        if (i > 0 && !(previous < key) && !repeated) {
            a.problem("keys not strictly ascending at entry " + std::to_string(i) + " (\"" + previous +
                      "\" then \"" + key + "\")");
            return;
        }
        previous = key;
    }
}

// One record with no count: only its refresh time to check.
void single(Analysis& a)
{
    a.stampAt(0, 0);
}

void givenId(Analysis& a)
{
    a.figure("lastGiven", a.read<uint16_t>(0));
}

void trace(Analysis& a)
{
    int32_t index = a.read<int32_t>(offsetof(VehTrace, index));
    int32_t count = a.read<int32_t>(offsetof(VehTrace, count));
    a.figure("index", index);
    a.figure("count", count);
    a.figure("capacity", VehTrace::CAPACITY);
    bool bad = false;
    if (index < 0 || index >= VehTrace::CAPACITY) {
        a.problem(format("index %lld outside 0..%lld", index, VehTrace::CAPACITY - 1));
        bad = true;
    }
    if (count < 0 || count > VehTrace::CAPACITY) {
        a.problem(format("count %lld outside 0..%lld", count, VehTrace::CAPACITY));
        bad = true;
    }
    if (bad) {
        return;
    }
    for (int back = 0; back < count; ++back) {
        int slot = (index - back + VehTrace::CAPACITY) % VehTrace::CAPACITY;
        a.stampAt(slot, offsetof(VehTrace, trace) + (long)slot * (long)sizeof(GNSS));
    }
}

void commRing(Analysis& a)
{
    int32_t latest = a.read<int32_t>(offsetof(CommRecord, latestIndex));
    int32_t count = a.read<int32_t>(offsetof(CommRecord, count));
    a.figure("latestIndex", latest);
    a.figure("count", count);
    a.figure("capacity", CommRecord::CAPACITY);
    bool bad = false;
    if (latest < 0 || latest >= CommRecord::CAPACITY) {
        a.problem(format("latestIndex %lld outside 0..%lld", latest, CommRecord::CAPACITY - 1));
        bad = true;
    }
    if (count < 0 || count > CommRecord::CAPACITY) {
        a.problem(format("count %lld outside 0..%lld", count, CommRecord::CAPACITY));
        bad = true;
    }
    if (bad) {
        return;
    }
    for (int back = 0; back < count; ++back) {
        int slot = (latest - back + CommRecord::CAPACITY) % CommRecord::CAPACITY;
        a.stampAt(slot, offsetof(CommRecord, infos) + (long)slot * (long)sizeof(CommInfo));
    }
}

void commSum(Analysis& a)
{
    CommSum sum = a.read<CommSum>(0);
    a.figure("peerCount", sum.peerCount);
    a.figure("capacity", CommSum::PEER_CAPACITY);
    if (sum.peerCount < 0 || sum.peerCount > CommSum::PEER_CAPACITY) {
        a.problem(format("peerCount %lld outside 0..%lld", sum.peerCount, CommSum::PEER_CAPACITY));
        return;
    }
    // Counts wrap at 2^31 and bytes at 2^64 alike in totals and rows, so the
    // sums compare in wrapping arithmetic. With all rows taken, a new peer's
    // messages go to the totals only: they can then exceed the rows.
    if (sum.peerCount == CommSum::PEER_CAPACITY) {
        return;
    }
    uint32_t count1 = 0, count2 = 0;
    uint64_t bytes1 = 0, bytes2 = 0;
    for (int i = 0; i < sum.peerCount; ++i) {
        count1 += (uint32_t)sum.peers[i].type1Count;
        bytes1 += sum.peers[i].type1Bytes;
        count2 += (uint32_t)sum.peers[i].type2Count;
        bytes2 += sum.peers[i].type2Bytes;
    }
    if (count1 != (uint32_t)sum.type1Count || bytes1 != sum.type1Bytes) {
        a.problem("type 1 totals differ from the sum of the peer rows");
    }
    if (count2 != (uint32_t)sum.type2Count || bytes2 != sum.type2Bytes) {
        a.problem("type 2 totals differ from the sum of the peer rows");
    }
}

bool allZero(const char* bytes, long len)
{
    for (long i = 0; i < len; ++i) {
        if (bytes[i] != 0) {
            return false;
        }
    }
    return true;
}

// A count and the records' flattened images back to back, then zeros. Each
// record must decode within the segment, flatten again to exactly the bytes
// it was read from (a writer cut halfway leaves zeros where children should
// be), and not be all zero (a count running beyond the data).
template <typename Rec, int SIZE>
void flatImage(Analysis& a, const char* keyName, int64_t (*keyOf)(const Rec&))
{
    int32_t count = a.read<int32_t>(0);
    a.figure("count", count);
    if (count < 0) {
        a.problem(format("count %lld below 0", count));
        return;
    }
    std::vector<char> again;
    int pos = (int)sizeof count;
    int64_t previousKey = 0;
    for (int32_t i = 0; i < count; ++i) {
        if (pos >= SIZE) {
            a.problem(format("count %lld but only %lld records fit in the segment", count, i));
            return;
        }
        int start = pos;
        Rec rec;
        if (rec.buffer2Obj(a.image, &pos, SIZE) < 0) {
            a.problem(format("record %lld at byte %lld does not decode within the segment", i, start));
            return;
        }
        int span = pos - start;
        if (allZero(a.image + start, span)) {
            a.problem(format("count %lld runs beyond the data: record %lld is zero fill", count, i));
            return;
        }
        again.assign((size_t)rec.flatSize(), 0);
        int at = 0;
        if (rec.flatSize() != span || rec.Obj2Buff(again.data(), &at) != span ||
            memcmp(again.data(), a.image + start, (size_t)span) != 0) {
            a.problem(format("record %lld at byte %lld is not a whole image (cut or overwritten)", i, start));
            return;
        }
        a.stamp(i, rec.latestRefreshTime);
        if (keyOf != nullptr) {
            int64_t key = keyOf(rec);
            if (i > 0 && !(previousKey < key)) {
                a.problem(std::string(keyName) + " not strictly ascending at record " + std::to_string(i));
            }
            previousKey = key;
        }
    }
    a.figure("bytes", pos);
    if (!allZero(a.image + pos, SIZE - pos)) {
        a.problem(format("data after the last of %lld records (byte %lld on)", count, pos));
    }
}

int64_t nodeKey(const LMNodeExtend& node)
{
    return node.nodeId;
}

void nodes(Analysis& a)
{
    flatImage<LMNodeExtend, LMNodeListMng::SHM_SIZE>(a, "node ids", nodeKey);
}

void lights(Analysis& a)
{
    flatImage<LMTrafficLightExtend, LMTLListMng::SHM_SIZE>(a, "", nullptr);
}

void rsi(Analysis& a)
{
    flatImage<LMRSIExtend, LMRSIListMng::SHM_SIZE>(a, "", nullptr);
}

// One list the check knows: its layout and what to check in it.
struct CheckSpec {
    const char* name;
    const char* manager;
    int key;    // default key
    int size;   // the segment's size
    int reach;  // bytes a reader may read: the size, or more for a record past the array
    void (*analyse)(Analysis&);
};

template <typename Mng>
constexpr int reachOf()
{
    return Mng::Tool::REACH;
}

// In segment-map order; the names are the tool's. The message ring, its
// totals and the target list take their keys from the processes that keep
// them; the defaults are the tool's.
const std::vector<CheckSpec>& specs()
{
    static const std::vector<CheckSpec> table = {
        {"procs", "DevProcListMng", DevProcListMng::SHM_KEY, DevProcListMng::SHM_SIZE,
         DevProcListMng::SHM_SIZE, stamped<DevProcListInShm>},
        {"config", "DevConfigMng", DevConfigMng::SHM_KEY, DevConfigMng::SHM_SIZE, DevConfigMng::SHM_SIZE,
         config},
        {"gnss", "DevGNSSMng", DevGNSSMng::SHM_KEY, DevGNSSMng::SHM_SIZE, DevGNSSMng::SHM_SIZE,
         single},
        {"ui", "DevUIClientMng", DevUIClientMng::SHM_KEY, DevUIClientMng::SHM_SIZE,
         DevUIClientMng::SHM_SIZE, stamped<DevUIClientListInShm>},
        {"givenid", "DevPTCGivenIDMng", DevPTCGivenIDMng::SHM_KEY, DevPTCGivenIDMng::SHM_SIZE,
         DevPTCGivenIDMng::SHM_SIZE, givenId},
        {"obu", "PtcOBUListMng", PtcOBUListMng::SHM_KEY, PtcOBUListMng::SHM_SIZE,
         reachOf<PtcOBUListMng>(), participants<PtcOBUListInShm, PtcOBUListMng>},
        {"rsu", "PtcRSUListMng", PtcRSUListMng::SHM_KEY, PtcRSUListMng::SHM_SIZE,
         reachOf<PtcRSUListMng>(), participants<PtcRSUListInShm, PtcRSUListMng>},
        {"ptc", "PTCListMng", PTCListMng::SHM_KEY, PTCListMng::SHM_SIZE, reachOf<PTCListMng>(),
         participants<PTCListInShm, PTCListMng>},
        {"vehicle", "VehStatusMng", VehStatusMng::SHM_KEY, VehStatusMng::SHM_SIZE, VehStatusMng::SHM_SIZE,
         single},
        {"trace", "VehTraceMng", VehTraceMng::SHM_KEY, VehTraceMng::SHM_SIZE, VehTraceMng::SHM_SIZE, trace},
        {"map", "LMNodeListMng", LMNodeListMng::SHM_KEY, LMNodeListMng::SHM_SIZE, LMNodeListMng::SHM_SIZE,
         nodes},
        {"lights", "LMTLListMng", LMTLListMng::SHM_KEY, LMTLListMng::SHM_SIZE, LMTLListMng::SHM_SIZE, lights},
        {"rsi", "LMRSIListMng", LMRSIListMng::SHM_KEY, LMRSIListMng::SHM_SIZE, LMRSIListMng::SHM_SIZE, rsi},
        {"collisions", "TgtCollisionMng", TgtCollisionMng::SHM_KEY, TgtCollisionMng::SHM_SIZE,
         TgtCollisionMng::SHM_SIZE, stamped<TgtCollisionListInShm>},
        {"targets", "TargetMng", 77502, TargetMng::SHM_SIZE, TargetMng::SHM_SIZE, stamped<TargetListInShm>},
        {"location", "LMMapResMng", LMMapResMng::SHM_KEY, LMMapResMng::SHM_SIZE, LMMapResMng::SHM_SIZE,
         single},
        {"rsiresult", "LMRSIResMng", LMRSIResMng::SHM_KEY, LMRSIResMng::SHM_SIZE, LMRSIResMng::SHM_SIZE,
         stamped<LMRSIListInShm>},
        {"phaseresult", "LMTLPhaseResMng", LMTLPhaseResMng::SHM_KEY, LMTLPhaseResMng::SHM_SIZE,
         LMTLPhaseResMng::SHM_SIZE, stamped<LMTLPhaseListInShm>},
        {"comm", "CommRecordMng", 77601, CommRecordMng::SHM_SIZE, CommRecordMng::SHM_SIZE, commRing},
        {"commsum", "CommSumMng", 77602, CommSumMng::SHM_SIZE, CommSumMng::SHM_SIZE, commSum},
    };
    return table;
}

const CheckSpec* findSpec(const std::string& name)
{
    for (const CheckSpec& spec : specs()) {
        if (name == spec.name) {
            return &spec;
        }
    }
    return nullptr;
}

void sleepMs(int ms)
{
    struct timespec ts = {ms / 1000, (long)(ms % 1000) * 1000000L};
    nanosleep(&ts, nullptr);
}

// Takes the lock without blocking, retried until `seconds` have passed.
// 0 when taken, EAGAIN when still held at the deadline, or semop's error.
int takeLock(int semId, double seconds)
{
    double deadline = TimeTool::getPreciseTimeNow() + seconds;
    struct sembuf op = {0, -1, (short)(IPC_NOWAIT | SEM_UNDO)};
    for (;;) {
        if (semop(semId, &op, 1) == 0) {
            return 0;
        }
        if (errno != EAGAIN && errno != EINTR) {
            return errno;
        }
        if (TimeTool::getPreciseTimeNow() >= deadline) {
            return EAGAIN;
        }
        sleepMs(10);
    }
}

void giveLock(int semId)
{
    struct sembuf op = {0, 1, SEM_UNDO};
    while (semop(semId, &op, 1) != 0 && errno == EINTR) {
    }
}

// Fills the result's ownership and semaphore state from a probe of the key.
void takeProbe(const ListOwnerProbe& probe, ListCheckResult& r)
{
    r.semPresent = probe.sem != ListOwnerProbe::SEM_ABSENT;
    r.semValue = probe.semValue;
    r.semInitialised = probe.sem == ListOwnerProbe::SEM_FREE || probe.sem == ListOwnerProbe::SEM_HELD;
    r.ownership = probe.ownership;
    r.attached = probe.attached;
    r.creatorPid = probe.creatorPid;
    r.creatorAlive = probe.creatorAlive;
}

// What is wrong with the list's ownership, in short English; empty when owned.
std::string ownershipProblem(const ListCheckResult& r)
{
    std::string creator = "created by pid " + std::to_string(r.creatorPid) +
                          (r.creatorAlive ? ", still running" : ", gone");
    switch (r.ownership) {
    case ListOwnerProbe::OWNER_GONE:
        return "owner gone (nobody attached; " + creator + ")";
    case ListOwnerProbe::NEVER_INITIALISED:
        return "semaphore never initialised (no owner; " + std::to_string(r.attached) + " attached, " + creator + ")";
    case ListOwnerProbe::NO_SEMAPHORE:
        return "no semaphore (no owner)";
    default:
        return "";
    }
}

// Copies `reach` bytes of the segment into *copy, never past the pages the
// segment is mapped in. False when it can not be attached.
bool copySegment(int shmId, long size, int reach, std::vector<char>* copy)
{
    void* addr = shmat(shmId, nullptr, SHM_RDONLY);
    if (addr == (void*)-1) {
        return false;
    }
    long page = sysconf(_SC_PAGESIZE);
    long mapped = (size + page - 1) / page * page;
    long want = reach > size ? reach : size;
    copy->assign((size_t)want, 0);
    memcpy(copy->data(), addr, (size_t)(want < mapped ? want : mapped));
    shmdt(addr);
    return true;
}

}  // namespace

const std::vector<std::string>& checkedListNames()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> out;
        for (const CheckSpec& spec : specs()) {
            out.push_back(spec.name);
        }
        return out;
    }();
    return names;
}

int checkedListDefaultKey(const std::string& name)
{
    const CheckSpec* spec = findSpec(name);
    return spec == nullptr ? 0 : spec->key;
}

ListCheckResult checkList(const std::string& name, int key, const ListCheckOptions& options)
{
    ListCheckResult r;
    r.name = name;
    const CheckSpec* spec = findSpec(name);
    if (spec == nullptr) {
        r.key = key;
        r.problems.push_back("unknown list");
        r.verdict = ListCheckResult::DAMAGED;
        return r;
    }
    r.manager = spec->manager;
    r.key = key != 0 ? key : spec->key;
    r.sizeExpected = spec->size;

    // Looked up before attaching, so that the check's own attachment does
    // not count as somebody keeping the list.
    takeProbe(probeListOwner(r.key), r);
    int shmId = shmget(r.key, 0, 0);
    struct shmid_ds shmDs;
    if (r.ownership == ListOwnerProbe::NO_SEGMENT || shmId == -1 || shmctl(shmId, IPC_STAT, &shmDs) != 0) {
        r.ownership = ListOwnerProbe::NO_SEGMENT;
        r.verdict = ListCheckResult::ABSENT;
        return r;
    }
    r.present = true;
    r.sizeFound = (long)shmDs.shm_segsz;

    std::string unowned = ownershipProblem(r);
    if (!unowned.empty()) {
        r.problems.push_back(unowned);
    }
    int semId = r.semPresent ? semget(r.key, 0, 0) : -1;
    int lockError = 0;
    if (r.semInitialised && semId != -1) {
        lockError = takeLock(semId, options.lockWaitSeconds);
        r.locked = lockError == 0;
    }

    std::vector<char> copy;
    bool copied = copySegment(shmId, r.sizeFound, spec->reach, &copy);
    if (r.locked) {
        giveLock(semId);
    } else if (lockError == EAGAIN) {
        // The last process to operate on the semaphore is the one that took it.
        int pid = semctl(semId, 0, GETPID);
        r.holderPid = pid > 0 ? pid : 0;
        r.holderAlive = pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
        char text[160];
        snprintf(text, sizeof text, "lock held for over %.1f s by pid %d (%s); read without it",
                 options.lockWaitSeconds, r.holderPid, r.holderAlive ? "alive" : "dead");
        r.problems.push_back(text);
    } else if (lockError != 0) {
        r.problems.push_back(std::string("lock can not be taken (") + strerror(lockError) + "); read without it");
    }

    if (r.sizeFound != spec->size) {
        r.problems.push_back("segment size " + std::to_string(r.sizeFound) + " bytes, list needs " +
                             std::to_string(spec->size));
    }
    if (!copied) {
        r.problems.push_back("segment can not be attached for reading");
    } else if (r.sizeFound >= spec->size) {
        Analysis a;
        a.image = copy.data();
        a.latest = TimeTool::getPreciseTimeNow() + options.futureTolerance;
        a.out = &r;
        try {
            spec->analyse(a);
        } catch (const std::exception&) {
            r.problems.push_back("out of memory while decoding");
        }
        a.finish(options.futureTolerance);
    }
    if (r.problems.empty()) {
        r.verdict = ListCheckResult::CONSISTENT;
    } else if (r.problems.size() == 1 && !unowned.empty()) {
        r.verdict = ListCheckResult::NO_OWNER;
    } else {
        r.verdict = ListCheckResult::DAMAGED;
    }
    return r;
}

std::vector<ListCheckResult> checkLists(const std::vector<std::string>& names, const ListCheckOptions& options)
{
    std::vector<ListCheckResult> results;
    for (const std::string& name : names.empty() ? checkedListNames() : names) {
        results.push_back(checkList(name, 0, options));
    }
    return results;
}

const char* verdictName(ListCheckResult::Verdict verdict)
{
    switch (verdict) {
    case ListCheckResult::ABSENT: return "absent";
    case ListCheckResult::CONSISTENT: return "consistent";
    case ListCheckResult::DAMAGED: return "damaged";
    case ListCheckResult::NO_OWNER: return "no owner";
    }
    return "?";
}

int checkExitCode(const std::vector<ListCheckResult>& results)
{
    for (const ListCheckResult& r : results) {
        if (r.verdict == ListCheckResult::DAMAGED || r.verdict == ListCheckResult::NO_OWNER) {
            return 1;
        }
    }
    return 0;
}

ListCheckCounts countVerdicts(const std::vector<ListCheckResult>& results)
{
    ListCheckCounts counts;
    for (const ListCheckResult& r : results) {
        switch (r.verdict) {
        case ListCheckResult::ABSENT: ++counts.absent; break;
        case ListCheckResult::CONSISTENT: ++counts.consistent; break;
        case ListCheckResult::DAMAGED: ++counts.damaged; break;
        case ListCheckResult::NO_OWNER: ++counts.noOwner; break;
        }
    }
    return counts;
}
