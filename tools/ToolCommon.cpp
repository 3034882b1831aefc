#include "ToolCommon.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sys/stat.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

const char* guardedList = "";

// glibc leaves the semctl argument union to the caller.
union SemArg {
    int val;
    struct semid_ds* buf;
    unsigned short* array;
};

void onLockTimeout(int)
{
    // Only async-signal-safe calls here.
    const char* head = "v2xshm: timed out waiting for the lock of list ";
    ssize_t n = write(STDERR_FILENO, head, strlen(head));
    n = write(STDERR_FILENO, guardedList, strlen(guardedList));
    n = write(STDERR_FILENO, "\n", 1);
    (void)n;
    _exit(EXIT_FAILURE_CODE);
}

}  // namespace

const std::vector<ListInfo>& knownLists()
{
    static const std::vector<ListInfo> lists = {
        {"procs", "DevProcListMng", 77101, 2564},
        {"config", "DevConfigMng", 77102, 6660},
        {"gnss", "DevGNSSMng", 77103, 105},
        {"ui", "DevUIClientMng", 77104, 3076},
        {"givenid", "DevPTCGivenIDMng", 77105, 2},
        {"obu", "PtcOBUListMng", 77201, 63492},
        {"rsu", "PtcRSUListMng", 77202, 18308},
        {"ptc", "PTCListMng", 77203, 58884},
        {"vehicle", "VehStatusMng", 77301, 56},
        {"trace", "VehTraceMng", 77302, 52508},
        {"map", "LMNodeListMng", 77401, 1048576},
        {"lights", "LMTLListMng", 77402, 1048576},
        {"rsi", "LMRSIListMng", 77403, 1048576},
        {"collisions", "TgtCollisionMng", 77501, 51460},
        {"targets", "TargetMng", 77502, 12356},  // the tool's target list; other keys with --key
        {"location", "LMMapResMng", 77511, 41},
        {"rsiresult", "LMRSIResMng", 77512, 8516},
        {"phaseresult", "LMTLPhaseResMng", 77513, 484},
        // The message ring and its totals take their keys from the logging
        // process; these are the tool's defaults.
        {"comm", "CommRecordMng", 77601, 19008},
        {"commsum", "CommSumMng", 77602, 1820},
    };
    return lists;
}

const ListInfo* findList(const std::string& name)
{
    for (const ListInfo& list : knownLists()) {
        if (name == list.name) {
            return &list;
        }
    }
    return nullptr;
}

int usageError(const std::string& message)
{
    std::cerr << "v2xshm: " << message << std::endl;
    return EXIT_USAGE;
}

int failure(const std::string& message)
{
    std::cerr << "v2xshm: " << message << std::endl;
    return EXIT_FAILURE_CODE;
}

bool readBoundedFile(const std::string& file, size_t limit, std::vector<char>* bytes, std::string* error)
{
    struct stat st;
    if (stat(file.c_str(), &st) != 0) {
        *error = "cannot read " + file + ": " + strerror(errno);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        *error = "cannot read " + file + ": not a regular file";
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        *error = "cannot read " + file + ": " + strerror(errno);
        return false;
    }
    bytes->assign(limit + 1, 0);
    in.read(bytes->data(), (std::streamsize)bytes->size());
    if (in.bad()) {
        *error = "cannot read " + file;
        return false;
    }
    bytes->resize((size_t)in.gcount());
    if (bytes->size() > limit) {
        *error = file + ": larger than " + std::to_string(limit) + " bytes";
        return false;
    }
    return true;
}

bool requireOwner(const ListInfo& list)
{
    if (probeList(list).owned()) {
        return true;
    }
    std::cerr << "v2xshm: list " << list.name << " (key " << list.key
              << ") has no owner; start one with 'v2xshm owner'" << std::endl;
    return false;
}

ListProbe probeList(const ListInfo& list)
{
    ListProbe probe;
    // Flags 0: look up only, never create.
    int shmId = shmget(list.key, 0, 0);
    struct shmid_ds shmDs;
    if (shmId != -1 && shmctl(shmId, IPC_STAT, &shmDs) == 0) {
        probe.segment = true;
        probe.segmentSize = (long)shmDs.shm_segsz;
        probe.attached = (long)shmDs.shm_nattch;
    }
    int semId = semget(list.key, 0, 0);
    if (semId == -1) {
        return probe;
    }
    struct semid_ds semDs;
    SemArg arg;
    arg.buf = &semDs;
    int value = semctl(semId, 0, GETVAL);
    if (value < 0 || semctl(semId, 0, IPC_STAT, arg) != 0) {
        return probe;
    }
    int waiting = semctl(semId, 0, GETNCNT);
    probe.waiting = waiting > 0 ? waiting : 0;
    // A set made by a non-owner starts at 0 and has never seen an operation;
    // the owner's SETVAL makes it 1, and any lock taken since sets sem_otime.
    if (value > 0) {
        probe.sem = ListProbe::SEM_FREE;
    } else if (semDs.sem_otime != 0) {
        probe.sem = ListProbe::SEM_HELD;
    } else {
        probe.sem = ListProbe::SEM_UNINITIALISED;
    }
    return probe;
}

const char* semStateName(ListProbe::SemState state)
{
    switch (state) {
    case ListProbe::SEM_ABSENT: return "absent";
    case ListProbe::SEM_UNINITIALISED: return "never initialised";
    case ListProbe::SEM_FREE: return "free";
    case ListProbe::SEM_HELD: return "held";
    }
    return "?";
}

void guardLockWait(const char* listName, unsigned seconds)
{
    guardedList = listName;
    signal(SIGALRM, onLockTimeout);
    alarm(seconds);
}

void releaseLockGuard()
{
    alarm(0);
}
