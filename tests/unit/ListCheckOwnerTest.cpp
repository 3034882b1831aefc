// Ownership as the consistency check and the tool see it, with real
// processes: an owner alive, an owner killed with SIGKILL, and a non-owner
// that attached with no owner running.
#include "v2xshm-unit/ListCheck.h"
#include "v2xshm-unit/ListOwner.h"

#include <gtest/gtest.h>
#include <csignal>
#include <cstring>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include "shm/DevConfigMng.h"
#include "shm/DevProcListMng.h"
#include "support/ProcessHelpers.h"

namespace {

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
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.list) + " " + ownershipName(c.ownership));
        pid_t child = c.owner ? childHolding<DevConfigMng>(true) : childHolding<DevProcListMng>(false);
        if (c.endSignal != 0) {
            kill(child, c.endSignal);
            EXPECT_EQ(waitChild(child), 128 + c.endSignal);
        }
        if (c.damage) {
            void* seg = shmat(shmget(c.key, 0, 0), nullptr, 0);
            ASSERT_NE(seg, (void*)-1);
            int32_t count = 129;
            memcpy(seg, &count, sizeof count);
            shmdt(seg);
        }
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
        semctl(semget(c.key, 0, 0), 0, IPC_RMID);
        shmctl(shmget(c.key, 0, 0), IPC_RMID, nullptr);
    }
}
