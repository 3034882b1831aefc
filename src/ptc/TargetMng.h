#ifndef V2XSHM_PTC_TARGETMNG_H
#define V2XSHM_PTC_TARGETMNG_H

#include <vector>

#include "ptc/TargetBase.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The target list as kept in its segment: targets 0..count-1 valid, in the
// order they were inserted.
struct TargetListInShm : public CountedList<TargetBase, 64> {};
static_assert(sizeof(TargetListInShm) == 12356, "shared layout changed");

// Keeps the targets around the own vehicle in a segment whose key the caller
// gives, so that a process can keep several target lists. One advising
// process rebuilds its local list each round (insertTgt) and publishes it
// whole (commit); readers update. One object per thread.
class TargetMng : public IF_SHM {
public:
    static constexpr int SHM_SIZE = 12356;
    static constexpr int CAPACITY = 64;

    TargetMng(int key, bool flag);

    // Publishes the first 64 local targets, in order; any beyond are left
    // out without a report. The result of commit2SHM: 1, or -1.
    int commit();
    // Replaces the local list with the published targets (count bounded by
    // 64). 1, or -1 keeping the list.
    int update() override;

    // Appends a target made from the participant's common part: its bearing
    // from the own heading (own.motion.heading, so own must have had
    // refreshMovable2D) and its distance from the own position, in metres.
    // A null vehClass leaves the target's class zero. 1; -1 for a null ptc
    // or when memory runs out (list unchanged).
    int insertTgt(GNSS& own, IF_PTCBase* ptc, unsigned char tgtType, VehClass* vehClass);

    std::vector<TargetBase> targets;  // the local list, in insertion order
};

#endif
