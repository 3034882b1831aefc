#ifndef V2XSHM_PTC_OBU_H
#define V2XSHM_PTC_OBU_H

#include "ptc/IFPTCBase.h"
#include "status/VehStatus.h"

#pragma pack(push, 1)
// A vehicle with an on-board unit, known by its device identifier (`id`),
// with the class and status it reports about itself.
class OBU : public IF_PTCBase {
public:
    OBU();  // extra bytes zero; class and status at their defaults

    char obuExtra[16];     // carried as received
    VehClass vehClass;
    VehStatus vehStatus;   // the vehicle's reported status
};
#pragma pack(pop)

static_assert(sizeof(OBU) == 248, "shared layout changed");
static_assert(offsetof(OBU, obuExtra) == 143, "shared layout changed");
static_assert(offsetof(OBU, vehClass) == 159, "shared layout changed");
static_assert(offsetof(OBU, vehStatus) == 192, "shared layout changed");
static_assert(std::is_trivially_copyable<OBU>::value, "copied with memcpy");

#endif
