#ifndef V2XSHM_STATUS_VEHSTATUS_H
#define V2XSHM_STATUS_VEHSTATUS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"
#include "space/IFPosition.h"

#pragma pack(push, 1)
// The own vehicle's state as read from its bus, each item with a one-byte
// source marker: SOURCE_NONE, SOURCE_BUS (withdrawn when the bus source
// fails) or SOURCE_MANUAL (the disabled-vehicle event set by hand, which
// survives that withdrawal). A packed host-order image, one per segment.
class VehStatus : public IF_Refreshable {
public:
    static constexpr uint8_t SOURCE_NONE = 0;
    static constexpr uint8_t SOURCE_BUS = 1;     // vehicle bus (CAN/OBD-II)
    static constexpr uint8_t SOURCE_MANUAL = 3;  // set through setVehDisabledInSHM
    static constexpr uint8_t TRANSMISSION_UNAVAILABLE = 7;
    // Disabled-vehicle event: bit 11 of the event bit string (byte 1, 0x10).
    static constexpr int DISABLED_BYTE = 1;
    static constexpr uint8_t DISABLED_MASK = 0x10;

    VehStatus();

    // Withdraws every item whose marker is exactly SOURCE_BUS: the
    // transmission returns to unavailable; item1 to item3, the event flags
    // and item4 are zeroed; the acceleration set and the brake status keep
    // their values and lose only their markers. Markers are then 0. The
    // refresh time is not touched.
    void revoverCANOBD2Unavailable();

    uint8_t transmission;       // transmission state; 7 = unavailable
    uint8_t transmissionSource;
    int32_t item1;              // bus values, units set by the bus reader
    uint8_t item1Source;
    int32_t item2;
    uint8_t item2Source;
    int32_t item3;
    uint8_t item3Source;
    Accel4Way accelSet;
    uint8_t accelSetSource;
    BrakeSys brakes;
    uint8_t brakesSource;
    uint8_t eventFlags[2];      // bit string, first bit = MSB of byte 0
    uint8_t eventFlagsSource;
    uint16_t item4;             // a further 16-bit bus item
    uint8_t item4Source;
};
#pragma pack(pop)

static_assert(sizeof(VehStatus) == 56, "shared layout changed");
static_assert(offsetof(VehStatus, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(VehStatus, transmission) == 8, "shared layout changed");
static_assert(offsetof(VehStatus, transmissionSource) == 9, "shared layout changed");
static_assert(offsetof(VehStatus, item1) == 10, "shared layout changed");
static_assert(offsetof(VehStatus, item1Source) == 14, "shared layout changed");
static_assert(offsetof(VehStatus, item2) == 15, "shared layout changed");
static_assert(offsetof(VehStatus, item2Source) == 19, "shared layout changed");
static_assert(offsetof(VehStatus, item3) == 20, "shared layout changed");
static_assert(offsetof(VehStatus, item3Source) == 24, "shared layout changed");
static_assert(offsetof(VehStatus, accelSet) == 25, "shared layout changed");
static_assert(offsetof(VehStatus, accelSetSource) == 41, "shared layout changed");
static_assert(offsetof(VehStatus, brakes) == 42, "shared layout changed");
static_assert(offsetof(VehStatus, brakesSource) == 49, "shared layout changed");
static_assert(offsetof(VehStatus, eventFlags) == 50, "shared layout changed");
static_assert(offsetof(VehStatus, eventFlagsSource) == 52, "shared layout changed");
static_assert(offsetof(VehStatus, item4) == 53, "shared layout changed");
static_assert(offsetof(VehStatus, item4Source) == 55, "shared layout changed");
static_assert(std::is_trivially_copyable<VehStatus>::value, "copied with memcpy");

#endif
