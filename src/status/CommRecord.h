#ifndef V2XSHM_STATUS_COMMRECORD_H
#define V2XSHM_STATUS_COMMRECORD_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "status/CommInfo.h"

#pragma pack(push, 1)
// The last 500 messages logged, as a ring in their segment. Each new message
// goes into the slot after latestIndex, so from a cleared ring the first one
// lands in slot 1 and slot 0 is first written by the 500th. Readers start at
// latestIndex and walk backwards over count entries.
class CommRecord {
public:
    static constexpr int CAPACITY = 500;

    CommRecord();

    // latestIndex and count as far as they can be trusted: a writer that died
    // halfway, or a foreign image, may have left any value. An index outside
    // 0..499 reads as 0, a count is clamped to 0..500.
    int validLatestIndex() const;
    int validCount() const;
    // The slot of the i-th newest entry (0 the newest), for 0 <= i < 500.
    int slotOfNewest(int i) const;

    int32_t latestIndex;          // slot of the newest entry
    int32_t count;                // valid entries, at most 500
    CommInfo infos[CAPACITY];
};
#pragma pack(pop)
static_assert(sizeof(CommRecord) == 19008, "shared layout changed");
static_assert(offsetof(CommRecord, latestIndex) == 0, "shared layout changed");
static_assert(offsetof(CommRecord, count) == 4, "shared layout changed");
static_assert(offsetof(CommRecord, infos) == 8, "shared layout changed");
static_assert(std::is_trivially_copyable<CommRecord>::value, "copied with memcpy");

#endif
