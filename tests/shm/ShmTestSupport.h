#ifndef V2XSHM_TESTS_SHM_SHMTESTSUPPORT_H
#define V2XSHM_TESTS_SHM_SHMTESTSUPPORT_H

#include "shm/IFSHM.h"

// Spare keys for the raw lists of these tests (never used by the system).
constexpr int RAW_KEY = 77990;
constexpr int RAW_KEY_2 = 77991;
// Holds IPC id 0 for the whole run (see ShmTestSupport.cpp).
constexpr int ID0_KEY = 77998;

// A list of raw bytes: lets a test see the segment and the lock that every
// manager is built on.
class RawList : public IF_SHM {
public:
    RawList(int key, int size, bool isOwner) : IF_SHM(key, size, isOwner) {}
    int update() override { return 1; }

    unsigned char* bytes() const { return (unsigned char*)shmAddr; }
    int sem() const { return semId; }
};

// Look-up-only probes of the kernel's IPC tables (they never create).
bool segmentExists(int key);
bool semaphoreExists(int key);
long segmentSize(int key);
// The semaphore's value, or -1 when there is no set.
int semValue(int key);
// Removes whatever segment and semaphore set `key` has (test clean-up).
void removeIpc(int key);

#endif
