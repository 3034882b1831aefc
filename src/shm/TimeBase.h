#ifndef V2XSHM_SHM_TIMEBASE_H
#define V2XSHM_SHM_TIMEBASE_H

#include <cstddef>
#include <cstdint>

#pragma pack(push, 1)
// Date and time of a GNSS fix, zeroed at construction. The date and the
// time of day down to the minute are kept in the first ten bytes in the form
// the receiver's reader fills them; the library reads only the second and
// the millisecond.
class TimeBase {
public:
    TimeBase();

    uint8_t dateTime[10];  // date and time of day to the minute, as filled
    int16_t second;        // second within the minute
    int16_t millisecond;   // millisecond within the second
};
#pragma pack(pop)
static_assert(sizeof(TimeBase) == 14, "shared layout changed");
static_assert(offsetof(TimeBase, second) == 10, "shared layout changed");
static_assert(offsetof(TimeBase, millisecond) == 12, "shared layout changed");

#endif
