#ifndef V2XSHM_LOCALMAP_LMPOINTBASE_H
#define V2XSHM_LOCALMAP_LMPOINTBASE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "space/IFPosition.h"

// Shape points and speed limits of the local map, as received. DeSerialize
// follows the contract of the other base records (see LMNodeBase.h): bytes
// consumed with *pos advanced, or -1 for a null buffer or cursor, a negative
// cursor or a negative len, nothing changed.

#pragma pack(push, 1)

// A shape point of a link or lane, with its distance to the link's end.
class LMPointBase : public IF_Position {
public:
    LMPointBase();

    // Also resets dis2End to 0: the distance is derived, never received.
    int DeSerialize(const char* buf, int* pos, int len);

    double dis2End;  // metres along the link to its last point
};

// One speed limit of a link. Types follow the usual speed-limit type codes:
// 4 = vehicle minimum speed, 5 = vehicle maximum speed.
class LMSpeedLimitBase {
public:
    LMSpeedLimitBase();

    int DeSerialize(const char* buf, int* pos, int len);

    uint8_t type;
    float speed;  // metres per second
};

#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMPointBase) == 34, "shared layout changed");
static_assert(offsetof(LMPointBase, latHemisphere) == 0, "shared layout changed");
static_assert(offsetof(LMPointBase, longitude) == 2, "shared layout changed");
static_assert(offsetof(LMPointBase, dis2End) == 26, "shared layout changed");
static_assert(std::is_trivially_copyable<LMPointBase>::value, "copied with memcpy");

static_assert(sizeof(LMSpeedLimitBase) == 5, "shared layout changed");
static_assert(offsetof(LMSpeedLimitBase, type) == 0, "shared layout changed");
static_assert(offsetof(LMSpeedLimitBase, speed) == 1, "shared layout changed");
static_assert(std::is_trivially_copyable<LMSpeedLimitBase>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
