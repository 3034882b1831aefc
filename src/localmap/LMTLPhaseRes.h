#ifndef V2XSHM_LOCALMAP_LMTLPHASERES_H
#define V2XSHM_LOCALMAP_LMTLPHASERES_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"

#pragma pack(push, 1)
// One signal-phase result for the host vehicle, computed by the process that
// evaluates the signals and read by the processes that show or use them.
// The library carries the fields after the refresh stamp byte for byte; their
// meaning is agreed between the filling and the reading processes.
class LMTLPhaseRes : public IF_Refreshable {
public:
    // Everything after the refresh stamp is zero.
    LMTLPhaseRes();

    int32_t valueInt;
    uint8_t valueByte1;
    uint8_t valueByte2;
    uint8_t valueBytes1[8];
    uint8_t valueBytes2[8];
};
#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMTLPhaseRes) == 30, "shared layout changed");
static_assert(offsetof(LMTLPhaseRes, valueInt) == 8, "shared layout changed");
static_assert(offsetof(LMTLPhaseRes, valueByte1) == 12, "shared layout changed");
static_assert(offsetof(LMTLPhaseRes, valueByte2) == 13, "shared layout changed");
static_assert(offsetof(LMTLPhaseRes, valueBytes1) == 14, "shared layout changed");
static_assert(offsetof(LMTLPhaseRes, valueBytes2) == 22, "shared layout changed");
static_assert(std::is_trivially_copyable<LMTLPhaseRes>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
