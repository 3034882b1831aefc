#ifndef V2XSHM_STATUS_COMMSUMMNG_H
#define V2XSHM_STATUS_COMMSUMMNG_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFSHM.h"

#pragma pack(push, 1)
// The totals of one peer: messages and bytes of each counted type.
struct CommPeerSum {
    int32_t peerId;
    int32_t type1Count;
    uint64_t type1Bytes;
    int32_t type2Count;
    uint64_t type2Bytes;
};

// Running totals of the messages logged, per type and per peer, as kept in
// their segment. Byte totals are 64-bit; message counts wrap at 2^31.
struct CommSum {
    static constexpr int PEER_CAPACITY = 64;

    int32_t type1Count;
    uint64_t type1Bytes;
    int32_t type2Count;
    uint64_t type2Bytes;
    int32_t peerCount;                  // used rows of `peers`
    CommPeerSum peers[PEER_CAPACITY];   // in order of each peer's first message

    // peerCount clamped to 0..64, as a writer that died may leave anything.
    int validPeerCount() const
    {
        int32_t n = peerCount;
        return n < 0 ? 0 : (n > PEER_CAPACITY ? PEER_CAPACITY : n);
    }
};
#pragma pack(pop)
static_assert(sizeof(CommPeerSum) == 28, "shared layout changed");
static_assert(offsetof(CommPeerSum, type1Count) == 4, "shared layout changed");
static_assert(offsetof(CommPeerSum, type1Bytes) == 8, "shared layout changed");
static_assert(offsetof(CommPeerSum, type2Count) == 16, "shared layout changed");
static_assert(offsetof(CommPeerSum, type2Bytes) == 20, "shared layout changed");
static_assert(sizeof(CommSum) == 1820, "shared layout changed");
static_assert(offsetof(CommSum, type1Bytes) == 4, "shared layout changed");
static_assert(offsetof(CommSum, type2Count) == 12, "shared layout changed");
static_assert(offsetof(CommSum, type2Bytes) == 16, "shared layout changed");
static_assert(offsetof(CommSum, peerCount) == 24, "shared layout changed");
static_assert(offsetof(CommSum, peers) == 28, "shared layout changed");
static_assert(std::is_trivially_copyable<CommSum>::value, "copied with memcpy");

// Keeps the message totals in a segment whose key the logging process
// chooses, beside the message ring of CommRecordMng. Writers count with
// operateSHMNotSafe(addOneCommRecord, &info); readers update. One object
// per thread.
class CommSumMng : public IF_SHM {
public:
    static constexpr int SHM_SIZE = 1820;
    // addOneCommRecord's answer for a message counted without a peer row.
    static constexpr int PEER_TABLE_FULL = 2;

    // Attaches the totals under `key`; the owner then zeroes them.
    CommSumMng(int key, bool isOwner);

    // Copies the segment's totals into `sum`. 1, or -1 keeping it.
    int update() override;

    // Callback for operateSHMNotSafe: counts one CommInfo (info) of type 1
    // or 2 in the type's totals and in its peer's row, appending a row for a
    // peer not seen before. Other types are not counted. 1; PEER_TABLE_FULL
    // when a new peer finds all 64 rows taken: the message is counted in the
    // type totals only and nothing is written past the table; -1 for a null
    // argument (nothing changed).
    static int addOneCommRecord(void* shm, void* info);
    // Callback for operateSHMNotSafe: zeroes the whole record. `arg` is
    // ignored. 1.
    static int initCommSum(void* shm, void* arg);

    CommSum sum = CommSum();  // the local copy
};

#endif
