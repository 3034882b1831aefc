#ifndef V2XSHM_PTC_TGTCOLLISION_H
#define V2XSHM_PTC_TGTCOLLISION_H

#include "ptc/TargetBase.h"

#pragma pack(push, 1)
// A target with a predicted conflict. The collision figure is computed by
// the advising process; 9999.0 means no collision.
class TgtCollision : public TargetBase {
public:
    static constexpr double COLLISION_NONE = 9999.0;

    TgtCollision();

    double collision;
};
#pragma pack(pop)

static_assert(sizeof(TgtCollision) == 201, "shared layout changed");
static_assert(offsetof(TgtCollision, collision) == 193, "shared layout changed");
static_assert(std::is_trivially_copyable<TgtCollision>::value, "copied with memcpy");

#endif
