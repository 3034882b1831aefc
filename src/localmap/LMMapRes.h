#ifndef V2XSHM_LOCALMAP_LMMAPRES_H
#define V2XSHM_LOCALMAP_LMMAPRES_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"

#pragma pack(push, 1)
// Where the host vehicle is in the local map: the link it drives on, the node
// that link leads to, the distance left to the stop line and the link's speed
// limits. The refresh stamp tells readers when it was computed. These 41
// bytes are also the whole segment of LMMapResMng.
class LMMapRes : public IF_Refreshable {
public:
    // Everything after the refresh stamp is zero.
    LMMapRes();

    int64_t upstreamNodeId;  // key of the matched link in its node
    int64_t nodeId;          // node that owns the matched link
    double dis2StopLine;     // metres to the end of the matched link
    uint8_t reserved;        // spare, always 0
    float maxSpeed;          // m/s, the link's limit of type 5
    float minSpeed;          // m/s, the link's limit of type 4
};
#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMMapRes) == 41, "shared layout changed");
static_assert(offsetof(LMMapRes, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(LMMapRes, upstreamNodeId) == 8, "shared layout changed");
static_assert(offsetof(LMMapRes, nodeId) == 16, "shared layout changed");
static_assert(offsetof(LMMapRes, dis2StopLine) == 24, "shared layout changed");
static_assert(offsetof(LMMapRes, reserved) == 32, "shared layout changed");
static_assert(offsetof(LMMapRes, maxSpeed) == 33, "shared layout changed");
static_assert(offsetof(LMMapRes, minSpeed) == 37, "shared layout changed");
static_assert(std::is_trivially_copyable<LMMapRes>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
