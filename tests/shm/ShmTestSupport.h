#ifndef V2XSHM_TESTS_SHM_SHMTESTSUPPORT_H
#define V2XSHM_TESTS_SHM_SHMTESTSUPPORT_H

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include "shm/IFSHM.h"

// A spare key for the raw lists of these tests (never used by the system).
constexpr int RAW_KEY = 77990;
// Holds IPC id 0 for the whole run (see ShmTestSupport.cpp).
constexpr int ID0_KEY = 77998;

// A list of raw bytes: lets a test see the segment and the lock that every
// manager is built on.
class RawList : public IF_SHM {
public:
    RawList(int key, int size, bool isOwner) : IF_SHM(key, size, isOwner) {}
    int update() override { return 1; }
    unsigned char* bytes() const { return (unsigned char*)shmAddr; }
};

// Look-up-only probes of the kernel's IPC tables (they never create).
inline bool segmentExists(int key) { return shmget(key, 0, 0) != -1; }
// The semaphore's value, or -1 when there is no set.
inline int semValue(int key)
{
    int id = semget(key, 0, 0);
    return id == -1 ? -1 : semctl(id, 0, GETVAL);
}
// Removes whatever segment and semaphore set `key` has (test clean-up).
inline void removeIpc(int key)
{
    shmctl(shmget(key, 0, 0), IPC_RMID, nullptr);
    semctl(semget(key, 0, 0), 0, IPC_RMID);
}

#endif
