#ifndef V2XSHM_SPACE_VEHTRACEMNG_H
#define V2XSHM_SPACE_VEHTRACEMNG_H

#include "shm/IFSHM.h"
#include "space/VehTrace.h"

// Keeps the vehicle trace, the ring of the last 500 fixes, in its segment
// (key 77302). The creating process resets the ring once; the positioning
// process then adds each fix in place with insertOneGNSS2Trace; readers take
// whole copies with update. There is no commit: the ring is only written
// through the callbacks. One object per thread.
class VehTraceMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77302;
    static constexpr int SHM_SIZE = 52508;

    // The owner (flag true) also resets index and count in the segment.
    explicit VehTraceMng(bool flag);

    // Copies the segment into the local trace. 1, or -1 keeping it.
    int update() override;

    // Callback for operateSHMNotSafe: advances the index (mod 500), copies the
    // fix (a GNSS) into that slot, counts it up to 500 and prints the new
    // count and index. Index and count are bounded before use. 1; -1 for a
    // null argument (nothing changed).
    static int insertOneGNSS2Trace(void* trace, void* gnss);
    // Callback for operateSHMNotSafe: sets index and count to 0, leaving the
    // slots as they are. 1; -1 for a null segment.
    static int initVehTrace(void* trace, void* arg);

    VehTrace trace;  // the local copy
};

#endif
