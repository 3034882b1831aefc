#ifndef V2XSHM_PTC_TARGETBASE_H
#define V2XSHM_PTC_TARGETBASE_H

#include "ptc/IFPTCBase.h"

#pragma pack(push, 1)
// A participant as seen from the own vehicle: its bearing and distance.
// A fresh target is "far away": distance 9999.0 marks an unknown distance.
class TargetBase : public IF_PTCBase {
public:
    static constexpr double DISTANCE_NONE = 9999.0;

    TargetBase();

    uint8_t tgtType;    // target type code given by the caller
    double angle;       // radians from the own heading, positive to the right
    double distance;    // metres; 9999.0 = unknown or far away
    VehClass vehClass;
};
#pragma pack(pop)

static_assert(sizeof(TargetBase) == 193, "shared layout changed");
static_assert(offsetof(TargetBase, tgtType) == 143, "shared layout changed");
static_assert(offsetof(TargetBase, angle) == 144, "shared layout changed");
static_assert(offsetof(TargetBase, distance) == 152, "shared layout changed");
static_assert(offsetof(TargetBase, vehClass) == 160, "shared layout changed");
static_assert(std::is_trivially_copyable<TargetBase>::value, "copied with memcpy");

#endif
