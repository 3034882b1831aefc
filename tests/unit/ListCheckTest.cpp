// The consistency check against lists its own owners fill and then damage,
// and ownership as the check and the tool see it with real processes: an
// owner alive, an owner killed with SIGKILL, and a non-owner that attached
// with no owner running.
#include "v2xshm-unit/ListCheck.h"
#include "v2xshm-unit/ListOwner.h"

#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <gtest/gtest.h>

#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"
#include "ptc/PTCListMng.h"
#include "shm/DevConfigMng.h"
#include "shm/DevProcListMng.h"
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "support/ProcessHelpers.h"

namespace {

ListCheckOptions quick()
{
    ListCheckOptions options;
    options.lockWaitSeconds = 0.2;
    return options;
}

// The segment's bytes and the semaphore's value: what the check must leave.
std::pair<std::vector<char>, int> snapshot(int key)
{
    int id = shmget(key, 0, 0);
    struct shmid_ds ds;
    EXPECT_EQ(shmctl(id, IPC_STAT, &ds), 0);
    char* addr = (char*)shmat(id, nullptr, SHM_RDONLY);
    std::vector<char> bytes(addr, addr + ds.shm_segsz);
    shmdt(addr);
    return {bytes, semctl(semget(key, 0, 0), 0, GETVAL)};
}

// Runs fn on the list's segment attached read-write, as a stray writer would.
void damage(int key, const std::function<void(char*)>& fn)
{
    char* addr = (char*)shmat(shmget(key, 0, 0), nullptr, 0);
    ASSERT_NE(addr, (char*)-1);
    fn(addr);
    shmdt(addr);
}

void put32(char* at, int32_t v) { memcpy(at, &v, sizeof v); }

// Owners of the lists with something to check, filled as their writers fill
// them; destroying it removes every segment.
struct Unit {
    DevConfigMng config{true};
    DevGNSSMng gnss{true};
    PTCListMng ptc{true};
    VehTraceMng trace{true};
    LMNodeListMng map{true};
    LMTLListMng lights{true};
    LMRSIListMng rsi{true};
    CommRecordMng comm{77601, true};
    CommSumMng commSum{77602, true};

    Unit()
    {
        int32_t value = 7;
        for (const char* key : {"radio", "device", "log"}) config.insertConfig(key, ConfigInfo::FOUR_BYTES, &value);
        config.commit();
        gnss.gnss.refreshTime();
        gnss.commit();
        for (int i = 0; i < 3; ++i) trace.operateSHMNotSafe(VehTraceMng::insertOneGNSS2Trace, &gnss.gnss);
        for (LMNodeExtend node : SampleIntersection::nodes()) {
            node.refreshTime();
            map.nodes[(int64_t)node.nodeId] = node;  // a copy: the field is packed
        }
        map.commit();
        for (LMTrafficLightExtend light : SampleSignal::lights()) {
            light.refreshTime();
            lights.lights[(int64_t)light.id] = light;
        }
        lights.commit();
        for (LMRSIExtend record : SampleSignal::rsiRecords()) {
            record.refreshTime();
            rsi.records.push_back(record);
        }
        rsi.commit();
        for (int32_t peer : {10, 20, 10}) {
            CommInfo info;
            info.commType = peer == 10 ? 1 : 2, info.peerId = peer, info.length = 40;
            info.refreshTime();
            comm.operateSHMNotSafe(CommRecordMng::insertOneInfo2Record, &info);
            commSum.operateSHMNotSafe(CommSumMng::addOneCommRecord, &info);
        }
    }
};

// The problems in one line, to look for a text in and to show on failure.
std::string problems(const ListCheckResult& r)
{
    std::string all;
    for (const std::string& p : r.problems) all += p + "; ";
    return all;
}

// A child that constructs Mng(owner), tells the parent and waits for a signal.
template <typename Mng>
pid_t childHolding(bool owner)
{
    Signal ready;
    pid_t pid = forkChild([&] {
        Mng mng(owner);
        ready.post();
        pause();
        return 0;
    });
    EXPECT_TRUE(ready.wait());
    return pid;
}

}  // namespace

TEST(ListCheck, CleanListsAreConsistentAbsentOnesAreNoFault)
{
    ListCheckResult before = checkList("config", 0, quick());
    EXPECT_EQ(before.verdict, ListCheckResult::ABSENT);
    EXPECT_EQ(checkExitCode({before}), 0);

    Unit unit;
    // The participant lists accept one record past their array.
    damage(PTCListMng::SHM_KEY, [](char* seg) { put32(seg, PTCListMng::CAPACITY + 1); });
    // With every peer row taken, a new peer's messages raise the totals only.
    damage(77602, [](char* seg) { put32(seg, 3), put32(seg + offsetof(CommSum, peerCount), CommSum::PEER_CAPACITY); });
    std::vector<ListCheckResult> all = checkLists({}, quick());
    ASSERT_EQ(all.size(), checkedListNames().size());
    for (const ListCheckResult& r : all) {
        EXPECT_NE(r.verdict, ListCheckResult::DAMAGED) << r.name << ": " << problems(r);
        EXPECT_TRUE(!r.present || (r.locked && r.semValue == 1 && r.sizeFound == r.sizeExpected)) << r.name;
    }
    EXPECT_EQ(checkExitCode(all), 0);
}

TEST(ListCheck, EachDamageIsReportedAndNothingIsWritten)
{
    struct Case {
        const char* list;
        int key;
        std::function<void(char*)> harm;
        const char* reported;
    };
    const double future = TimeTool::getPreciseTimeNow() + 3600.0;
    static const double NOT_A_TIME = std::nan("");
    const std::vector<Case> cases = {
        {"config", DevConfigMng::SHM_KEY, [](char* s) { put32(s, 129); }, "count 129 outside 0..128"},
        {"ptc", PTCListMng::SHM_KEY, [](char* s) { put32(s, PTCListMng::CAPACITY + 2); }, "outside 0..257"},
        {"config", DevConfigMng::SHM_KEY,
         [](char* s) {
             char first[sizeof(ConfigInfo)];
             memcpy(first, s + 4, sizeof first);
             memmove(s + 4, s + 4 + sizeof first, sizeof first);
             memcpy(s + 4 + sizeof first, first, sizeof first);
         },
         "not strictly ascending at entry 1"},
        {"gnss", DevGNSSMng::SHM_KEY, [future](char* s) { memcpy(s, &future, sizeof future); }, "in the future"},
        {"lights", LMTLListMng::SHM_KEY, [](char* s) { put32(s, 3); }, "record 2 is zero fill"},
        // A writer killed halfway through the second light: zeros after the cut.
        {"lights", LMTLListMng::SHM_KEY,
         [](char* s) { memset(s + 4 + SampleSignal::lights()[0].flatSize() + 40, 0, 4096); },
         "record 1 at byte"},
        // The second node left as data after the count.
        {"map", LMNodeListMng::SHM_KEY, [](char* s) { put32(s, 1); }, "data after the last of 1 records"},
        {"rsi", LMRSIListMng::SHM_KEY, [future](char* s) { memcpy(s + 4, &future, sizeof future); },
         "1 refresh time(s) in the future (first at record 0"},
        {"map", LMNodeListMng::SHM_KEY, [](char* s) { memcpy(s + 4, &NOT_A_TIME, sizeof NOT_A_TIME); },
         "1 refresh time(s) not a finite time (first at record 0)"},
        {"trace", VehTraceMng::SHM_KEY, [](char* s) { put32(s, VehTrace::CAPACITY); }, "index 500 outside"},
        {"comm", 77601, [](char* s) { put32(s, -1); }, "latestIndex -1 outside"},
        {"commsum", 77602, [](char* s) { put32(s, 1); }, "type 1 totals differ"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reported);
        Unit unit;
        damage(c.key, c.harm);
        auto before = snapshot(c.key);
        ListCheckResult r = checkList(c.list, 0, quick());
        EXPECT_EQ(r.verdict, ListCheckResult::DAMAGED);
        EXPECT_NE(problems(r).find(c.reported), std::string::npos) << problems(r);
        EXPECT_EQ(checkExitCode({r}), 1);
        EXPECT_TRUE(snapshot(c.key) == before);
    }
}

TEST(ListCheck, LockHolderIsReportedAliveOrDead)
{
    for (bool alive : {false, true}) {
        SCOPED_TRACE(alive ? "alive" : "dead");
        DevConfigMng owner(true);
        Signal locked, done;
        pid_t child = forkChild([&] {
            // Without SEM_UNDO: the lock stays taken after the child exits.
            struct sembuf op = {0, -1, 0};
            if (semop(semget(DevConfigMng::SHM_KEY, 0, 0), &op, 1) != 0) return 1;
            locked.post();
            return alive && !done.wait() ? 2 : 0;
        });
        ASSERT_TRUE(locked.wait());
        ASSERT_TRUE(alive || waitChild(child) == 0);
        auto before = snapshot(DevConfigMng::SHM_KEY);
        ListCheckResult r = checkList("config", 0, quick());
        EXPECT_EQ(r.verdict, ListCheckResult::DAMAGED);
        EXPECT_FALSE(r.locked);
        EXPECT_EQ(r.holderPid, child);
        EXPECT_NE(problems(r).find(alive ? "(alive)" : "(dead)"), std::string::npos) << problems(r);
        EXPECT_TRUE(snapshot(DevConfigMng::SHM_KEY) == before);
        if (alive) {
            done.post();
            EXPECT_EQ(waitChild(child), 0);
        }
    }
}

TEST(ListOwner, OwnerAliveKilledAndNeverThereAreToldApart)
{
    using P = ListOwnerProbe;
    using V = ListCheckResult;
    struct Case {
        const char* list;
        int key;
        bool owner;      // the child constructs the list as owner
        int endSignal;   // how the child ends before the check (0: it runs on)
        bool damage;     // a count beyond the capacity is written first
        P::Ownership ownership;
        V::Verdict verdict;
        const char* problem;
    };
    const Case cases[] = {
        {"config", DevConfigMng::SHM_KEY, true, 0, false, P::OWNED, V::CONSISTENT, ""},
        {"config", DevConfigMng::SHM_KEY, true, SIGKILL, false, P::OWNER_GONE, V::NO_OWNER,
         "owner gone (nobody attached; created by pid "},
        {"config", DevConfigMng::SHM_KEY, true, SIGKILL, true, P::OWNER_GONE, V::DAMAGED, "owner gone"},
        // What a program linked against the shared library leaves of the
        // process list when no owner runs, and what it shows while it runs.
        {"procs", DevProcListMng::SHM_KEY, false, SIGTERM, false, P::NEVER_INITIALISED, V::NO_OWNER,
         "semaphore never initialised (no owner; 0 attached"},
        {"procs", DevProcListMng::SHM_KEY, false, 0, false, P::NEVER_INITIALISED, V::NO_OWNER, "(no owner; 1 attached"},
    };
    // Each case starts and ends with no list under its key, whatever ran before.
    auto removeList = [](int key) {
        semctl(semget(key, 0, 0), 0, IPC_RMID);
        shmctl(shmget(key, 0, 0), IPC_RMID, nullptr);
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.list) + " " + ownershipName(c.ownership));
        removeList(c.key);
        pid_t child = c.owner ? childHolding<DevConfigMng>(true) : childHolding<DevProcListMng>(false);
        if (c.endSignal != 0) {
            kill(child, c.endSignal);
            EXPECT_EQ(waitChild(child), 128 + c.endSignal);
        }
        if (c.damage) damage(c.key, [](char* s) { put32(s, 129); });
        P probe = probeListOwner(c.key);
        EXPECT_EQ(probe.ownership, c.ownership) << ownershipName(probe.ownership);
        EXPECT_EQ(probe.owned(), c.ownership == P::OWNED);
        EXPECT_EQ(probe.creatorPid, child);
        EXPECT_EQ(probe.creatorAlive, c.endSignal == 0);

        ListCheckResult r = checkList(c.list, 0, ListCheckOptions{0.2, 2.0});
        EXPECT_EQ(r.verdict, c.verdict) << verdictName(r.verdict);
        EXPECT_EQ(r.ownership, c.ownership);
        EXPECT_EQ(checkExitCode({r}), c.verdict == V::CONSISTENT ? 0 : 1);
        ListCheckCounts counts = countVerdicts({r, checkList("gnss")});
        EXPECT_EQ(counts.absent, 1);
        EXPECT_EQ(c.verdict == V::NO_OWNER ? counts.noOwner : c.verdict == V::DAMAGED ? counts.damaged : counts.consistent, 1);
        ASSERT_EQ(r.problems.empty(), *c.problem == '\0');
        if (*c.problem != '\0') {
            EXPECT_NE(r.problems[0].find(c.problem), std::string::npos) << r.problems[0];
        }
        EXPECT_EQ(probeListOwner(c.key).attached, probe.attached) << "the check detached again";
        if (c.endSignal == 0) {
            kill(child, SIGKILL);
            waitChild(child);
        }
        removeList(c.key);
    }
}
