#include "ToolCommon.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

const char* guardedList = "";

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
        {"config", "DevConfigMng", 77102, 6660},
        {"gnss", "DevGNSSMng", 77103, 105},
        {"vehicle", "VehStatusMng", 77301, 56},
        {"trace", "VehTraceMng", 77302, 52508},
        {"map", "LMNodeListMng", 77401, 1048576},
        {"location", "LMMapResMng", 77511, 41},
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

bool requireOwner(const ListInfo& list)
{
    // Flags 0: look up only, never create.
    bool present = shmget(list.key, 0, 0) != -1;
    int semId = semget(list.key, 0, 0);
    bool initialised = false;
    if (semId != -1) {
        // A set made by a non-owner starts at 0 and has never seen an
        // operation; the owner's SETVAL makes it 1.
        struct semid_ds ds;
        union {
            int val;
            struct semid_ds* buf;
        } arg;
        arg.buf = &ds;
        int value = semctl(semId, 0, GETVAL);
        initialised = value > 0 || (semctl(semId, 0, IPC_STAT, arg) == 0 && ds.sem_otime != 0);
    }
    if (present && initialised) {
        return true;
    }
    std::cerr << "v2xshm: list " << list.name << " (key " << list.key
              << ") has no owner; start one with 'v2xshm owner'" << std::endl;
    return false;
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

std::string jsonString(const std::string& text)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += (char)c;
            }
        }
    }
    return out + "\"";
}
