#ifndef V2XSHM_PTC_PTCLISTMNG_H
#define V2XSHM_PTC_PTCLISTMNG_H

#include <vector>

#include "ptc/PTC.h"
#include "ptc/PtcListTool.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The list as kept in its segment: records 0..count-1 valid, in the order
// they were first listed. The insert may put one record past the array
// (count 256 + 1); see PtcListTool.h.
struct PTCListInShm : public CountedList<PTC, 256> {};
static_assert(sizeof(PTCListInShm) == 58884, "shared layout changed");

// Keeps the participants reported by sensors and road-side messages
// (key 77203); a participant is known by its ptcID, source and sourceID.
// Receiving processes insert or refresh one record at a time in place,
// an ageing task drops records not refreshed for 2.0 s, readers update.
// There is no commit: writers change the segment only through the callbacks.
// One object per thread: the local vector is not locked.
class PTCListMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77203;
    static constexpr int SHM_SIZE = 58884;
    static constexpr int CAPACITY = 256;

    explicit PTCListMng(bool flag);

    // The list's insert, ageing and read logic, on this list's layout and key.
    using Tool = PtcListTool<PTCListInShm, PTCListMng>;
    // The list key: true when a and b are the same participant.
    static bool same(const PTC& a, const PTC& b);

    // Replaces the local vector with the listed records, in list order, the
    // one record past the array included. 1, or -1 keeping the vector.
    int update() override;

    // Callback for operateSHMNotSafe: ages the list (`arg` is ignored).
    // Records whose age is greater than 2.0 s are removed, the others move up
    // in order; a record exactly 2.0 s old stays. 1.
    static int refreshList(void* list, void* arg);
    // Callback for operateSHMNotSafe: `record` points to a PTC. Refreshes
    // the first listed record with the same key (the record takes its local
    // identifier) or appends it with a new local identifier; either way the
    // record's refresh time is set to now before it is copied, and the caller
    // sees both. 1 refreshed, 2 inserted, -1 full (256 + 1 records listed,
    // nothing changed).
    static int insertUpdateList(void* list, void* record);
    // Callback for operateSHMNotSafe: `records` points to a
    // std::vector<PTC>; each element goes through insertUpdateList in
    // order, even after a failure. 1, or -1 when any insert failed.
    static int insertUpdateListMulti(void* list, void* records);

    std::vector<PTC> ptcs;  // the local copy, in list order
};

#endif
