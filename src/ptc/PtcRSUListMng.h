#ifndef V2XSHM_PTC_PTCRSULISTMNG_H
#define V2XSHM_PTC_PTCRSULISTMNG_H

#include <vector>

#include "ptc/RSU.h"
#include "ptc/PtcListTool.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The list as kept in its segment: records 0..count-1 valid, in the order
// they were first listed. The insert may put one record past the array
// (count 128 + 1); see PtcListTool.h.
struct PtcRSUListInShm : public CountedList<RSU, 128> {};
static_assert(sizeof(PtcRSUListInShm) == 18308, "shared layout changed");

// Keeps the road-side units heard of (key 77202); a unit is known by
// its device id.
// Receiving processes insert or refresh one record at a time in place,
// an ageing task drops records not refreshed for 2.0 s, readers update.
// There is no commit: writers change the segment only through the callbacks.
// One object per thread: the local vector is not locked.
class PtcRSUListMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77202;
    static constexpr int SHM_SIZE = 18308;
    static constexpr int CAPACITY = 128;

    explicit PtcRSUListMng(bool flag);

    // The list's insert, ageing and read logic, on this list's layout and key.
    using Tool = PtcListTool<PtcRSUListInShm, PtcRSUListMng>;
    // The list key: true when a and b are the same participant.
    static bool same(const RSU& a, const RSU& b);

    // Replaces the local vector with the listed records, in list order, the
    // one record past the array included. 1, or -1 keeping the vector.
    int update() override;

    // Callback for operateSHMNotSafe: ages the list (`arg` is ignored).
    // Records whose age is greater than 2.0 s are removed, the others move up
    // in order; a record exactly 2.0 s old stays. 1.
    static int refreshList(void* list, void* arg);
    // Callback for operateSHMNotSafe: `record` points to a RSU. Refreshes
    // the first listed record with the same key (the record takes its local
    // identifier) or appends it with a new local identifier; either way the
    // record's refresh time is set to now before it is copied, and the caller
    // sees both. 1 refreshed, 2 inserted, -1 full (128 + 1 records listed,
    // nothing changed).
    static int insertUpdateList(void* list, void* record);
    // Callback for operateSHMNotSafe: `records` points to a
    // std::vector<RSU>; each element goes through insertUpdateList in
    // order, even after a failure. 1, or -1 when any insert failed.
    static int insertUpdateListMulti(void* list, void* records);

    std::vector<RSU> rsus;  // the local copy, in list order
};

#endif
