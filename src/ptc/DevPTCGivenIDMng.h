#ifndef V2XSHM_PTC_DEVPTCGIVENIDMNG_H
#define V2XSHM_PTC_DEVPTCGIVENIDMNG_H

#include "shm/IFSHM.h"

// The device-wide participant identifier (key 77105): one unsigned 16-bit
// counter in a 2-byte segment holding the last value given out, so that all
// processes draw from one sequence. No local copy is kept.
class DevPTCGivenIDMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77105;
    static constexpr int SHM_SIZE = 2;

    explicit DevPTCGivenIDMng(bool flag);

    // Nothing to read: the value is only drawn through getPTCGivenID. 1.
    int update() override;

    // Draws the next identifier under the segment's lock: 1, 2, ..., 65535,
    // 0, 1, ... (the value after the increment; 0 is not skipped). Returns 0
    // as well when the segment can not be used.
    unsigned short getPTCGivenID();

    // Callback for operateSHMNotSafe: increments the counter in `shm` and
    // stores the new value in *out (unsigned 16-bit). 1; -1 for a null out
    // (counter unchanged).
    static int getNextID(void* shm, void* out);
};

#endif
