#ifndef V2XSHM_LOCALMAP_LMTLPHASERESMNG_H
#define V2XSHM_LOCALMAP_LMTLPHASERESMNG_H

#include <vector>

#include "localmap/LMTLPhaseRes.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The signal-phase results as kept in their segment: a count, then 16 records.
struct LMTLPhaseListInShm : public CountedList<LMTLPhaseRes, 16> {};
static_assert(sizeof(LMTLPhaseListInShm) == 484, "shared layout changed");

// Publishes the signal-phase results computed for the host vehicle (key 77513) from the
// evaluating process to its readers; each commit replaces them all.
// One object per thread: the local vector is not locked.
class LMTLPhaseResMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77513;
    static constexpr int SHM_SIZE = 484;

    explicit LMTLPhaseResMng(bool isOwner);

    // Writes the first 16 results of the vector (fewer when it holds fewer)
    // and their count over the whole segment; the base's result (1).
    int commit();
    // Replaces the vector by the stored results in order. 1; -1 keeping the
    // vector when the segment cannot be read, or when memory runs out (the
    // vector then empty). A stored count above 16 (a writer that died
    // halfway) is read as 16, a negative one as 0.
    int update() override;

    std::vector<LMTLPhaseRes> phaseResults;  // the local copy, in list order
};

#endif
