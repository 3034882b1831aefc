#ifndef V2XSHM_SHM_PROCINFO_H
#define V2XSHM_SHM_PROCINFO_H

#include <cstddef>
#include <type_traits>

#include "shm/IFRefreshable.h"

#pragma pack(push, 1)
// One entry of the process list: a process's name, a tag it gave at start,
// and the time of its last watchdog feed. The name is the entry's identity.
class ProcInfo : public IF_Refreshable {
public:
    static constexpr int TEXT_LEN = 16;

    // Refresh time 0 and both texts zero.
    ProcInfo();
    // The same, then setInfo(name, tag).
    ProcInfo(const char* name, const char* tag);

    // Zeroes each 16-byte field and copies the text in. A text of 16
    // characters or more fills its field without a terminator (the rest is
    // cut); a null text leaves its field zero.
    void setInfo(const char* name, const char* tag);

    char procName[TEXT_LEN];  // zero-terminated when shorter than 16
    char procTag[TEXT_LEN];   // stored, not interpreted
};
#pragma pack(pop)
static_assert(sizeof(ProcInfo) == 40, "shared layout changed");
static_assert(offsetof(ProcInfo, procName) == 8, "shared layout changed");
static_assert(offsetof(ProcInfo, procTag) == 24, "shared layout changed");
static_assert(std::is_trivially_copyable<ProcInfo>::value, "copied with memcpy");

#endif
