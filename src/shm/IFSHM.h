#ifndef V2XSHM_SHM_IFSHM_H
#define V2XSHM_SHM_IFSHM_H

// Base of every list manager. Owns one segment and its semaphore (same key).
// The owner process zeroes the segment and frees the lock at construction and
// removes both at destruction; every other process attaches, and a process
// that attaches before the owner blocks at its first transfer until the owner
// starts. All transfers run under the list's semaphore and never hold two.
// A manager whose segment could not be made or attached, or is smaller than
// the list (made first by a process that asked for less), answers -1 to
// every transfer without taking the lock.
class IF_SHM {
public:
    IF_SHM(int key, int size, bool isOwner);
    virtual ~IF_SHM();

    // Rebuilds the manager's local copy from the segment.
    virtual int update() = 0;

    // Zeroes the segment and writes `len` bytes of `buf` at its start.
    // 1, or -1 (no lock taken) when len exceeds the segment size.
    int commit2SHM(void* buf, int len);
    // Copies `len` bytes of the segment to `buf`. 1, or -1 (no lock taken)
    // when len is smaller than the segment size.
    int updateFromSHM(void* buf, int len);
    // Runs fn on a private copy of the whole segment (taken on the stack) and
    // writes the copy back. Returns fn's result; -1 with the segment unchanged
    // and the lock free when fn throws a std::exception.
    int updateOperateCommit(int (*fn)(void* copy, int size, void* arg), void* arg);
    // Runs fn on the live segment under the lock. Returns fn's result; -1 when
    // fn throws a std::exception, keeping what fn had already written.
    int operateSHMNotSafe(int (*fn)(void* shm, void* arg), void* arg);

protected:
    int semId = -1;
    void* shmAddr = nullptr;
    int shmKey;
    int shmSize;
    bool isOwner;
};

#endif
