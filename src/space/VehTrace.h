#ifndef V2XSHM_SPACE_VEHTRACE_H
#define V2XSHM_SPACE_VEHTRACE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "space/GNSS.h"

#pragma pack(push, 1)
// The own vehicle's recent fixes as a ring, laid out as in its segment. The
// newest fix is in slot `index`; walk backwards from there (wrapping at 0 to
// 499) for `count` fixes in all. The index advances before each write, so
// after a reset the first fix lands in slot 1.
class VehTrace {
public:
    static constexpr int CAPACITY = 500;

    VehTrace();

    // `index` and `count` as far as they can be trusted: a writer that died
    // halfway or a stray write may have left any value. An index outside
    // [0, 500) reads as 0, the state after a reset; the count is clamped to
    // [0, 500].
    int boundedIndex() const;
    int boundedCount() const;
    // Slot of the fix `back` steps older than the newest (0 = newest), using
    // the bounded index; -1 when back is outside [0, boundedCount()).
    int slotOf(int back) const;

    int32_t index;             // ring slot of the newest fix
    int32_t count;             // valid fixes, at most 500
    GNSS trace[CAPACITY];      // the ring
};
#pragma pack(pop)

static_assert(sizeof(VehTrace) == 52508, "shared layout changed");
static_assert(offsetof(VehTrace, index) == 0, "shared layout changed");
static_assert(offsetof(VehTrace, count) == 4, "shared layout changed");
static_assert(offsetof(VehTrace, trace) == 8, "shared layout changed");
static_assert(std::is_trivially_copyable<VehTrace>::value, "copied with memcpy");

#endif
