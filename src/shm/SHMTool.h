#ifndef V2XSHM_SHM_SHMTOOL_H
#define V2XSHM_SHM_SHMTOOL_H

// Thin static layer over System V shared memory and semaphores. A list's
// segment and its one-semaphore set share one IPC key; the semaphore is a
// lock (1 free, 0 held) whose P and V carry SEM_UNDO, so the kernel gives it
// back when a holder dies. Holds no state; callers keep their own ids.
class SHMTool {
public:
    // Attaches the segment of `key`, creating it with `size` bytes if absent
    // (an existing segment is attached whatever its size). Returns the
    // segment id; -1 when it cannot be created or attached (on a failed
    // attach *addr holds (void*)-1 and a message is printed).
    static int init_shm(int key, int size, void** addr);
    // Zeroes `size` bytes at *addr unless *addr is null.
    static void clean_shm(void** addr, int size);
    // Detaches *addr; returns shmdt's result (0 or -1). *addr is kept.
    static int close_shm(void** addr);
    // Removes the segment of `key` if one exists with an id above 0.
    static void delete_shm(int key);

    // Creates or opens the set of `key`, stores its id in *semId and sets the
    // value to 1. Returns 1 (also when setting the value failed), -1 never in
    // practice: the zero test on set_semvalue's result is kept as designed.
    static int createSem(int key, int* semId);
    // Opens (creating if absent, value 0 then) the set of `key`; id or -1.
    static int getSem(int key);
    // Sets semaphore 0 to 1: 1, or -1.
    static int set_semvalue(int semId);
    // Removes the set: 1, or -1 with a message.
    static int del_semvalue(int semId);
    // Takes the lock, blocking: 1, or -1 (EINTR included) with a message on stderr.
    static int semaphore_p(int semId);
    // Gives the lock back: 1, or -1 with a message on stderr.
    static int semaphore_v(int semId);
};

#endif
