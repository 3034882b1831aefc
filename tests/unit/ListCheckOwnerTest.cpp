// Ownership as the consistency check and the tool see it, with real
// processes: an owner alive, an owner killed with SIGKILL, and a non-owner
// that attached with no owner running and left.
#include "v2xshm-unit/ListCheck.h"
#include "v2xshm-unit/ListOwner.h"

#include <gtest/gtest.h>
#include <csignal>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include "shm/DevConfigMng.h"
#include "shm/DevProcListMng.h"
#include "support/ProcessHelpers.h"

namespace {

ListCheckOptions quick()
{
    ListCheckOptions options;
    options.lockWaitSeconds = 0.2;
    return options;
}

void removeKey(int key)
{
    semctl(semget(key, 0, 0), 0, IPC_RMID);
    shmctl(shmget(key, 0, 0), IPC_RMID, nullptr);
}

// A child that makes `Mng(owner)`, stores one setting when owner, tells the
// parent and waits to be killed.
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

TEST(ListOwner, OwnerAliveKilledAndNeverThereAreToldApart)
{
    struct Case {
        const char* what;
        const char* list;
        int key;
        bool ownerChild;   // the child constructs the list as owner
        int endSignal;     // how the child ends before the check (0: runs on)
        ListOwnerProbe::Ownership ownership;
        ListCheckResult::Verdict verdict;
        const char* problem;
    };
    const Case cases[] = {
        {"owner alive", "config", DevConfigMng::SHM_KEY, true, 0, ListOwnerProbe::OWNED,
         ListCheckResult::CONSISTENT, ""},
        {"owner killed", "config", DevConfigMng::SHM_KEY, true, SIGKILL, ListOwnerProbe::OWNER_GONE,
         ListCheckResult::NO_OWNER, "owner gone (nobody attached; created by pid "},
        // What a program linked against the shared library leaves of the
        // process list when no owner runs.
        {"non-owner left", "procs", DevProcListMng::SHM_KEY, false, SIGTERM, ListOwnerProbe::NEVER_INITIALISED,
         ListCheckResult::NO_OWNER, "semaphore never initialised (no owner; 0 attached"},
        {"non-owner still there", "procs", DevProcListMng::SHM_KEY, false, 0, ListOwnerProbe::NEVER_INITIALISED,
         ListCheckResult::NO_OWNER, "(no owner; 1 attached"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        pid_t child = c.ownerChild ? childHolding<DevConfigMng>(true) : childHolding<DevProcListMng>(false);
        if (c.endSignal != 0) {
            kill(child, c.endSignal);
            EXPECT_EQ(waitChild(child), 128 + c.endSignal);
        }
        ListOwnerProbe probe = probeListOwner(c.key);
        EXPECT_EQ(probe.ownership, c.ownership) << ownershipName(probe.ownership);
        EXPECT_EQ(probe.owned(), c.ownership == ListOwnerProbe::OWNED);
        EXPECT_EQ(probe.creatorPid, child);
        EXPECT_EQ(probe.creatorAlive, c.endSignal == 0);

        ListCheckResult r = checkList(c.list, 0, quick());
        EXPECT_EQ(r.verdict, c.verdict) << verdictName(r.verdict);
        EXPECT_EQ(r.ownership, c.ownership);
        EXPECT_EQ(checkExitCode({r}), c.verdict == ListCheckResult::CONSISTENT ? 0 : 1);
        ASSERT_EQ(r.problems.empty(), *c.problem == '\0');
        if (*c.problem != '\0') {
            EXPECT_NE(r.problems[0].find(c.problem), std::string::npos) << r.problems[0];
        }
        // The check attached and left: the list is as it found it.
        EXPECT_EQ(probeListOwner(c.key).attached, probe.attached);
        if (c.endSignal == 0) {
            kill(child, SIGKILL);
            waitChild(child);
        }
        removeKey(c.key);
    }
}

TEST(ListOwner, DamageBesideAMissingOwnerStaysDamage)
{
    pid_t child = childHolding<DevConfigMng>(true);
    kill(child, SIGKILL);
    ASSERT_EQ(waitChild(child), 128 + SIGKILL);
    void* seg = shmat(shmget(DevConfigMng::SHM_KEY, 0, 0), nullptr, 0);
    ASSERT_NE(seg, (void*)-1);
    int32_t count = 129;
    memcpy(seg, &count, sizeof count);
    shmdt(seg);
    ListCheckResult r = checkList("config", 0, quick());
    EXPECT_EQ(r.verdict, ListCheckResult::DAMAGED);
    EXPECT_EQ(r.ownership, ListOwnerProbe::OWNER_GONE);
    ListCheckCounts counts = countVerdicts({r, checkList("gnss", 0, quick())});
    EXPECT_EQ(counts.damaged, 1);
    EXPECT_EQ(counts.absent, 1);
    removeKey(DevConfigMng::SHM_KEY);
}
