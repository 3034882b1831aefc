#ifndef V2XSHM_SHM_COUNTEDLIST_H
#define V2XSHM_SHM_COUNTEDLIST_H

#include <cstdint>

#pragma pack(push, 1)
// The layout of most lists in their segment: a signed count of valid
// records, then a fixed array of records. Records from `count` on are
// unspecified (zero after a clear).
template <typename Rec, int CAP>
struct CountedList {
    static constexpr int capacity = CAP;

    int32_t count = 0;
    Rec items[CAP];  // default-constructed records

    // The count as far as it can be trusted: a writer that died halfway may
    // have left any value, so it is clamped to [0, CAP] before indexing.
    int validCount() const
    {
        int32_t n = count;
        return n < 0 ? 0 : (n > CAP ? CAP : n);
    }
};
#pragma pack(pop)

#endif
