#ifndef V2XSHM_STATUS_COMMINFO_H
#define V2XSHM_STATUS_COMMINFO_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"

#pragma pack(push, 1)
// One message sent or received, as logged by the process that handled it.
// Kept in the message ring and counted in the totals; all zero when made.
class CommInfo : public IF_Refreshable {
public:
    static constexpr int DETAIL_LEN = 16;

    CommInfo();

    int32_t commType;          // 1 or 2 are counted apart; other values are not counted
    int32_t peerId;            // the other end
    uint32_t length;           // bytes
    uint8_t reserved[2];       // stored, not interpreted
    char detail[DETAIL_LEN];   // stored, not interpreted
};
#pragma pack(pop)
static_assert(sizeof(CommInfo) == 38, "shared layout changed");
static_assert(offsetof(CommInfo, commType) == 8, "shared layout changed");
static_assert(offsetof(CommInfo, peerId) == 12, "shared layout changed");
static_assert(offsetof(CommInfo, length) == 16, "shared layout changed");
static_assert(offsetof(CommInfo, reserved) == 20, "shared layout changed");
static_assert(offsetof(CommInfo, detail) == 22, "shared layout changed");
static_assert(std::is_trivially_copyable<CommInfo>::value, "copied with memcpy");

#endif
