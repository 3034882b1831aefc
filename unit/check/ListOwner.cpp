#include "v2xshm-unit/ListOwner.h"

#include <cerrno>
#include <csignal>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

// glibc leaves the semctl argument union to the caller.
union SemArg {
    int val;
    struct semid_ds* buf;
    unsigned short* array;
};

bool processAlive(int pid)
{
    return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

void probeSem(int key, ListOwnerProbe* probe)
{
    int semId = semget(key, 0, 0);
    if (semId == -1) {
        return;
    }
    struct semid_ds ds;
    SemArg arg;
    arg.buf = &ds;
    int value = semctl(semId, 0, GETVAL);
    if (value < 0 || semctl(semId, 0, IPC_STAT, arg) != 0) {
        return;
    }
    int waiting = semctl(semId, 0, GETNCNT);
    probe->semValue = value;
    probe->waiting = waiting > 0 ? waiting : 0;
    // A set made by a non-owner starts at 0 and has seen no operation; the
    // owner's SETVAL makes it 1, and any lock taken since sets sem_otime.
    if (value > 0) {
        probe->sem = ListOwnerProbe::SEM_FREE;
    } else if (ds.sem_otime != 0) {
        probe->sem = ListOwnerProbe::SEM_HELD;
    } else {
        probe->sem = ListOwnerProbe::SEM_UNINITIALISED;
    }
}

}  // namespace

ListOwnerProbe probeListOwner(int key)
{
    ListOwnerProbe probe;
    int shmId = shmget(key, 0, 0);
    struct shmid_ds ds;
    if (shmId != -1 && shmctl(shmId, IPC_STAT, &ds) == 0) {
        probe.segment = true;
        probe.segmentSize = (long)ds.shm_segsz;
        probe.attached = (long)ds.shm_nattch;
        probe.creatorPid = (int)ds.shm_cpid;
        probe.creatorAlive = processAlive(probe.creatorPid);
    }
    probeSem(key, &probe);
    if (!probe.segment) {
        probe.ownership = ListOwnerProbe::NO_SEGMENT;
    } else if (probe.sem == ListOwnerProbe::SEM_ABSENT) {
        probe.ownership = ListOwnerProbe::NO_SEMAPHORE;
    } else if (probe.sem == ListOwnerProbe::SEM_UNINITIALISED) {
        probe.ownership = ListOwnerProbe::NEVER_INITIALISED;
    } else {
        probe.ownership = probe.attached > 0 ? ListOwnerProbe::OWNED : ListOwnerProbe::OWNER_GONE;
    }
    return probe;
}

const char* semStateName(ListOwnerProbe::SemState state)
{
    switch (state) {
    case ListOwnerProbe::SEM_ABSENT: return "absent";
    case ListOwnerProbe::SEM_UNINITIALISED: return "never initialised";
    case ListOwnerProbe::SEM_FREE: return "free";
    case ListOwnerProbe::SEM_HELD: return "held";
    }
    return "?";
}

const char* ownershipName(ListOwnerProbe::Ownership ownership)
{
    switch (ownership) {
    case ListOwnerProbe::NO_SEGMENT: return "absent";
    case ListOwnerProbe::OWNED: return "owned";
    case ListOwnerProbe::OWNER_GONE: return "owner gone";
    case ListOwnerProbe::NEVER_INITIALISED: return "never initialised";
    case ListOwnerProbe::NO_SEMAPHORE: return "no semaphore";
    }
    return "?";
}
