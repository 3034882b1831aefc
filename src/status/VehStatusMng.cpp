#include "status/VehStatusMng.h"

VehStatusMng::VehStatusMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int VehStatusMng::update()
{
    return updateFromSHM(&status, SHM_SIZE);
}

int VehStatusMng::setVehDisabledInSHM(void* shm, void* disabled)
{
    if (shm == nullptr || disabled == nullptr) {
        return -1;
    }
    VehStatus* rec = static_cast<VehStatus*>(shm);
    if (*static_cast<int*>(disabled) != 0) {
        rec->eventFlags[VehStatus::DISABLED_BYTE] |= VehStatus::DISABLED_MASK;
        rec->eventFlagsSource = VehStatus::SOURCE_MANUAL;
    } else {
        rec->eventFlags[VehStatus::DISABLED_BYTE] &= (uint8_t)~VehStatus::DISABLED_MASK;
        rec->eventFlagsSource = VehStatus::SOURCE_NONE;
    }
    return 1;
}
