#ifndef V2XSHM_LOCALMAP_LMNODEBASE_H
#define V2XSHM_LOCALMAP_LMNODEBASE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"
#include "space/IFPosition.h"

// The base records of an intersection's map as they arrive in a map message:
// the node (intersection), the link (road arriving at it), the lane and the
// movement (allowed connection to a downstream node). Their packed images are
// copied byte for byte into the flattened map kept in shared memory, so field
// order and widths are a format between processes.
//
// DeSerialize, common to all of them: decodes one big-endian record whose
// first two bytes (its own length, read by the enclosing decoder and passed as
// `len`) are skipped. Returns the bytes consumed, length field included, and
// advances *pos by as much; -1 for a null buffer or cursor, a negative cursor
// or a negative len (nothing changed). Only len's sign is checked: the fields
// give the size, and the caller must pass a complete message.

#pragma pack(push, 1)

// An intersection: reference point, name and identifier (its key in the node
// list). The refresh time is kept by the node list, never by decoding.
class LMNodeBase : public IF_Refreshable, public IF_Position {
public:
    static constexpr int NAME_LEN = 64;

    LMNodeBase();

    // Also -1 for a name length above 64; the position decoded before it has
    // then been written. A received name overwrites the start of `name` only.
    int DeSerialize(const char* buf, int* pos, int len);

    char name[NAME_LEN];  // not necessarily zero-terminated
    int64_t nodeId;
};

// A road arriving at a node, keyed in its node by the node it comes from.
class LMLinkBase {
public:
    static constexpr int NAME_LEN = 64;

    LMLinkBase();

    // Also -1 for a name length above 64; upstreamNodeId has then been written.
    int DeSerialize(const char* buf, int* pos, int len);

    int64_t upstreamNodeId;  // node where the link's traffic comes from
    char name[NAME_LEN];     // not necessarily zero-terminated
    float attrFloat1;        // carried unchanged
    uint8_t laneNum;         // number of lanes
    float attrFloat2;        // carried unchanged
};

// A lane of a link. The two-byte fields are bit strings kept in the order
// received; the library only carries them.
class LMLaneBase {
public:
    LMLaneBase();

    int DeSerialize(const char* buf, int* pos, int len);

    uint8_t laneID;  // key of the lane within its link
    uint8_t laneBitsA[2];
    uint8_t laneBitsB[2];
    uint8_t laneTypeCode;
    uint8_t laneBitsC[2];
};

// An allowed connection to a downstream node and the phase governing it.
class LMMovementBase {
public:
    LMMovementBase();

    int DeSerialize(const char* buf, int* pos, int len);

    int64_t remoteNodeId;  // downstream node; the movement's key
    uint8_t phaseId;
};

#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMNodeBase) == 106, "shared layout changed");
static_assert(offsetof(LMNodeBase, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(LMNodeBase, latHemisphere) == 8, "shared layout changed");
static_assert(offsetof(LMNodeBase, longitude) == 10, "shared layout changed");
static_assert(offsetof(LMNodeBase, name) == 34, "shared layout changed");
static_assert(offsetof(LMNodeBase, nodeId) == 98, "shared layout changed");
static_assert(std::is_trivially_copyable<LMNodeBase>::value, "copied with memcpy");

static_assert(sizeof(LMLinkBase) == 81, "shared layout changed");
static_assert(offsetof(LMLinkBase, upstreamNodeId) == 0, "shared layout changed");
static_assert(offsetof(LMLinkBase, name) == 8, "shared layout changed");
static_assert(offsetof(LMLinkBase, attrFloat1) == 72, "shared layout changed");
static_assert(offsetof(LMLinkBase, laneNum) == 76, "shared layout changed");
static_assert(offsetof(LMLinkBase, attrFloat2) == 77, "shared layout changed");
static_assert(std::is_trivially_copyable<LMLinkBase>::value, "copied with memcpy");

static_assert(sizeof(LMLaneBase) == 8, "shared layout changed");
static_assert(offsetof(LMLaneBase, laneID) == 0, "shared layout changed");
static_assert(offsetof(LMLaneBase, laneBitsA) == 1, "shared layout changed");
static_assert(offsetof(LMLaneBase, laneBitsB) == 3, "shared layout changed");
static_assert(offsetof(LMLaneBase, laneTypeCode) == 5, "shared layout changed");
static_assert(offsetof(LMLaneBase, laneBitsC) == 6, "shared layout changed");
static_assert(std::is_trivially_copyable<LMLaneBase>::value, "copied with memcpy");

static_assert(sizeof(LMMovementBase) == 9, "shared layout changed");
static_assert(offsetof(LMMovementBase, remoteNodeId) == 0, "shared layout changed");
static_assert(offsetof(LMMovementBase, phaseId) == 8, "shared layout changed");
static_assert(std::is_trivially_copyable<LMMovementBase>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
