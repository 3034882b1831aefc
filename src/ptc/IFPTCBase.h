#ifndef V2XSHM_PTC_IFPTCBASE_H
#define V2XSHM_PTC_IFPTCBASE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"
#include "space/GNSS.h"
#include "space/IFPosition.h"

#pragma pack(push, 1)
// What every traffic participant and target has: when it was last refreshed,
// the identifier this unit gave it, its device's identifier, its fix and its
// dimensions. A packed host-order image copied byte for byte between
// processes; the lists stamp the refresh time on every insert or refresh.
class IF_PTCBase : public IF_Refreshable {
public:
    static constexpr int ID_LEN = 16;

    // Everything zero; the fix has its own defaults.
    IF_PTCBase();

    uint16_t localID;  // given when first listed, never 0 once listed
    char id[ID_LEN];   // device identifier, zero-terminated when shorter
    GNSS gnss;         // the participant's fix
    ObjSize size;      // dimensions, units set by the filler
};
#pragma pack(pop)

static_assert(sizeof(IF_PTCBase) == 143, "shared layout changed");
static_assert(offsetof(IF_PTCBase, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(IF_PTCBase, localID) == 8, "shared layout changed");
static_assert(offsetof(IF_PTCBase, id) == 10, "shared layout changed");
static_assert(offsetof(IF_PTCBase, gnss) == 26, "shared layout changed");
static_assert(offsetof(IF_PTCBase, size) == 131, "shared layout changed");
static_assert(std::is_trivially_copyable<IF_PTCBase>::value, "copied with memcpy");

#endif
