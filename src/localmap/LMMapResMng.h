#ifndef V2XSHM_LOCALMAP_LMMAPRESMNG_H
#define V2XSHM_LOCALMAP_LMMAPRESMNG_H

#include "localmap/LMMapRes.h"
#include "shm/IFSHM.h"

// Publishes the host vehicle's place in the map (one LMMapRes, key 77511)
// from the locating process to its readers. One object per thread.
class LMMapResMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77511;
    static constexpr int SHM_SIZE = 41;

    explicit LMMapResMng(bool isOwner);

    // Writes mapRes to the segment; the base's result (1).
    int commit();
    // Reads the segment into mapRes. 1, or -1 keeping mapRes.
    int update() override;

    LMMapRes mapRes;  // the held record
};

#endif
