#ifndef V2XSHM_STATUS_VEHSTATUSMNG_H
#define V2XSHM_STATUS_VEHSTATUSMNG_H

#include "shm/IFSHM.h"
#include "status/VehStatus.h"

// Keeps the own vehicle's status in its segment (key 77301), which holds
// exactly one VehStatus and no count. The bus reader writes it whole with
// commit2SHM(&status, 56); the disabled-vehicle event is raised or cleared in
// place with setVehDisabledInSHM. One object per thread.
class VehStatusMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77301;
    static constexpr int SHM_SIZE = 56;

    explicit VehStatusMng(bool isOwner);

    // Copies the segment's status into the local one. 1, or -1 keeping it.
    int update() override;

    // Callback for operateSHMNotSafe: `disabled` points to an int. Non-zero
    // sets the disabled-vehicle bit and marks the event flags SOURCE_MANUAL;
    // zero clears the bit and the marker. Other event bits stay. 1; -1 for a
    // null argument (nothing changed).
    static int setVehDisabledInSHM(void* shm, void* disabled);

    VehStatus status;  // the local copy
};

#endif
