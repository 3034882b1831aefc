#ifndef V2XSHM_LOCALMAP_LMRSIRES_H
#define V2XSHM_LOCALMAP_LMRSIRES_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"

#pragma pack(push, 1)
// One road-side information result for the host vehicle, computed by the
// process that evaluates the RSI list and read by the presenting processes.
// The library carries the fields after the refresh stamp byte for byte; their
// meaning is agreed between the filling and the reading processes.
class LMRSIRes : public IF_Refreshable {
public:
    static constexpr int TEXT_LEN = 256;

    // Everything after the refresh stamp is zero.
    LMRSIRes();

    uint8_t valueByte1;
    uint8_t valueByte2;
    char text[TEXT_LEN];
};
#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMRSIRes) == 266, "shared layout changed");
static_assert(offsetof(LMRSIRes, valueByte1) == 8, "shared layout changed");
static_assert(offsetof(LMRSIRes, valueByte2) == 9, "shared layout changed");
static_assert(offsetof(LMRSIRes, text) == 10, "shared layout changed");
static_assert(std::is_trivially_copyable<LMRSIRes>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
