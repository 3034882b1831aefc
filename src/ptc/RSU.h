#ifndef V2XSHM_PTC_RSU_H
#define V2XSHM_PTC_RSU_H

#include "ptc/IFPTCBase.h"

#pragma pack(push, 1)
// A road-side unit, known by its device identifier (`id`).
class RSU : public IF_PTCBase {
public:
    RSU() = default;
};
#pragma pack(pop)

static_assert(sizeof(RSU) == 143, "shared layout changed");
static_assert(std::is_trivially_copyable<RSU>::value, "copied with memcpy");

#endif
