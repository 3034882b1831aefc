#ifndef V2XSHM_PTC_TGTCOLLISIONMNG_H
#define V2XSHM_PTC_TGTCOLLISIONMNG_H

#include <vector>

#include "ptc/TgtCollision.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The collision list as kept in its segment: records 0..count-1 valid, in
// the order they were inserted.
struct TgtCollisionListInShm : public CountedList<TgtCollision, 256> {};
static_assert(sizeof(TgtCollisionListInShm) == 51460, "shared layout changed");

// Keeps the targets with a predicted collision (key 77501). The advising
// process computes collision, bearing and distance itself, rebuilds its local
// list each round (insertTgt) and publishes it whole (commit); readers
// update. One object per thread.
class TgtCollisionMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77501;
    static constexpr int SHM_SIZE = 51460;
    static constexpr int CAPACITY = 256;

    explicit TgtCollisionMng(bool flag);

    // Publishes the first 256 local records, in order; any beyond are left
    // out without a report. The result of commit2SHM: 1, or -1.
    int commit();
    // Replaces the local list with the published records (count bounded by
    // 256). 1, or -1 keeping the list.
    int update() override;

    // Appends the participant's common part with the given figures (angle in
    // radians from the own heading, distance in metres); `own` is not used.
    // A null vehClass leaves the class zero. 1; -1 for a null ptc or when
    // memory runs out (list unchanged).
    int insertTgt(GNSS& own, IF_PTCBase* ptc, double collision, double angle, double distance,
                  unsigned char tgtType, VehClass* vehClass);

    std::vector<TgtCollision> collisions;  // the local list, in insertion order
};

#endif
