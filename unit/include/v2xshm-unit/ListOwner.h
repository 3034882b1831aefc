#ifndef V2XSHM_UNIT_LISTOWNER_H
#define V2XSHM_UNIT_LISTOWNER_H

// Who keeps one shared list, as the kernel tells it: the segment and the
// semaphore set under the list's key, found with look-up-only calls (shmget
// and semget with flags 0, IPC_STAT, GETVAL, GETNCNT), so probing never
// creates anything, never takes a lock and never blocks. Used by the
// consistency check, by the tool before it touches a list, and by a
// supervisor deciding whether to restart an owner.
//
// An owner stays attached to its segment for as long as it lives and removes
// segment and semaphore when it ends cleanly. So a segment that an owner set
// up (semaphore value set) and that nobody is attached to has lost its owner:
// what an owner killed with SIGKILL leaves behind. A segment whose semaphore
// was never set was made by a non-owner that started before any owner (or
// that loaded the library with no owner running), and has never had one.
// While other processes stay attached after the owner died, the kernel can
// not tell the owner's absence: such a list still counts as owned.
struct ListOwnerProbe {
    enum SemState {
        SEM_ABSENT,         // no semaphore set under the key
        SEM_UNINITIALISED,  // value 0 and never operated on: no owner ever set it
        SEM_FREE,           // value 1
        SEM_HELD,           // value 0 after an operation: somebody holds the lock
    };
    enum Ownership {
        NO_SEGMENT,         // no segment under the key
        OWNED,              // set up by an owner, somebody attached
        OWNER_GONE,         // set up by an owner, nobody attached any more
        NEVER_INITIALISED,  // a semaphore set no owner ever set up
        NO_SEMAPHORE,       // a segment with no semaphore set beside it
    };

    bool segment = false;       // a segment exists under the key
    long segmentSize = 0;       // its size in bytes (fixed by its creator)
    long attached = 0;          // processes attached to it now (shm_nattch)
    int creatorPid = 0;         // the process that created it (shm_cpid)
    bool creatorAlive = false;  // whether that process still exists
    SemState sem = SEM_ABSENT;
    int semValue = -1;          // the semaphore's value; -1 when absent
    int waiting = 0;            // processes blocked on the lock (GETNCNT)
    Ownership ownership = NO_SEGMENT;

    // A segment, set up by an owner that is still attached.
    bool owned() const { return ownership == OWNED; }
};

// Probes the segment and semaphore set under `key`. Never fails: what can not
// be read counts as absent.
ListOwnerProbe probeListOwner(int key);

// "absent", "never initialised", "free" or "held".
const char* semStateName(ListOwnerProbe::SemState state);
// "absent", "owned", "owner gone", "never initialised" or "no semaphore".
const char* ownershipName(ListOwnerProbe::Ownership ownership);

#endif
