#ifndef V2XSHM_SPACE_DEVGNSSMNG_H
#define V2XSHM_SPACE_DEVGNSSMNG_H

#include "shm/IFSHM.h"
#include "space/GNSS.h"

// Keeps the own vehicle's latest fix in its segment (key 77103), which holds
// exactly one GNSS record and no count. The positioning process commits each
// new fix whole; readers update. One object per thread.
class DevGNSSMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77103;
    static constexpr int SHM_SIZE = 105;

    explicit DevGNSSMng(bool flag);

    // Writes the local fix over the segment. 1, or -1.
    int commit();
    // Copies the segment's fix into the local one. 1, or -1 keeping it.
    int update() override;

    GNSS gnss;  // the local copy
};

#endif
