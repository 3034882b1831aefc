#ifndef V2XSHM_LOCALMAP_LMRSIRESMNG_H
#define V2XSHM_LOCALMAP_LMRSIRESMNG_H

#include <vector>

#include "localmap/LMRSIRes.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The road-side information results as kept in their segment: a count, then 32 records.
struct LMRSIListInShm : public CountedList<LMRSIRes, 32> {};
static_assert(sizeof(LMRSIListInShm) == 8516, "shared layout changed");

// Publishes the road-side information results computed for the host vehicle (key 77512) from the
// evaluating process to its readers; each commit replaces them all.
// One object per thread: the local vector is not locked.
class LMRSIResMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77512;
    static constexpr int SHM_SIZE = 8516;

    explicit LMRSIResMng(bool isOwner);

    // Writes the first 32 results of the vector (fewer when it holds fewer)
    // and their count over the whole segment; the base's result (1).
    int commit();
    // Replaces the vector by the stored results in order. 1; -1 keeping the
    // vector when the segment cannot be read, or when memory runs out (the
    // vector then empty). A stored count above 32 (a writer that died
    // halfway) is read as 32, a negative one as 0.
    int update() override;

    std::vector<LMRSIRes> rsiResults;  // the local copy, in list order
};

#endif
