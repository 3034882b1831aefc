#ifndef V2XSHM_STATUS_COMMRECORDMNG_H
#define V2XSHM_STATUS_COMMRECORDMNG_H

#include "shm/IFSHM.h"
#include "status/CommRecord.h"

// Keeps the ring of the last 500 messages in a segment whose key the logging
// process chooses (one ring per link or per process). Writers log with
// operateSHMNotSafe(insertOneInfo2Record, &info); readers update and walk
// the local copy from its newest entry. One object per thread.
class CommRecordMng : public IF_SHM {
public:
    static constexpr int SHM_SIZE = 19008;

    // Attaches the ring under `key`; the owner then clears its index and count.
    CommRecordMng(int key, bool isOwner);

    // Copies the segment's ring into `record`. 1, or -1 keeping it.
    int update() override;

    // Callback for operateSHMNotSafe: puts one CommInfo (info) into the slot
    // after latestIndex, wrapping at 500, and counts it up to 500. An index
    // or count out of range in the segment is first brought back into range
    // (see CommRecord::validLatestIndex), so no write leaves the ring. 1, or
    // -1 for a null argument (nothing changed).
    static int insertOneInfo2Record(void* shm, void* info);
    // Callback for operateSHMNotSafe: sets latestIndex and count to 0; the
    // entries stay as they were. `arg` is ignored. 1.
    static int initCommRecord(void* shm, void* arg);

    CommRecord record;  // the local copy
};

#endif
