#ifndef V2XSHM_LOCALMAP_LMNODELISTMNG_H
#define V2XSHM_LOCALMAP_LMNODELISTMNG_H

#include <cstdint>
#include <map>
#include <vector>

#include "localmap/LMMapRes.h"
#include "localmap/LMNodeExtend.h"
#include "shm/IFSHM.h"
#include "space/IFPosition.h"

// Keeps the local map's intersection nodes in their shared segment (key
// 77401, 1 MiB) so that the process decoding received maps and the processes
// using the map see the same set. Segment image: a native signed 32-bit node
// count, then each node's flattened image (LMNodeExtend::Obj2Buff) in
// ascending key order, then zeros. Readers stop after count nodes or at the
// end of the segment, and fail rather than read a node past it.
// One object per thread: the local map is not locked.
class LMNodeListMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77401;
    static constexpr int SHM_SIZE = 1048576;
    static constexpr double NODE_MAX_AGE = 10.0;  // seconds without refresh before a node goes

    explicit LMNodeListMng(bool isOwner);

    // Writes the local map over the whole segment. The base's result (1), or
    // -1 with nothing written when the flattened nodes exceed the segment or
    // memory runs out.
    int commit();
    // Replaces the local map from the segment. 1; -1 when a node does not
    // decode (within the segment) or memory runs out: the map then holds the
    // nodes decoded so far. A segment that cannot be read yields an empty map.
    int update() override;

    // Callback for operateSHMNotSafe. `incoming` is a std::map<int64_t,
    // LMNodeExtend> of newly received nodes: those already in the segment are
    // merged into the stored copy and restamped (and erased from incoming),
    // the others stamped in incoming and added; the list is rewritten in key
    // order. 1; -1 when the stored image does not decode (image unchanged),
    // when the result exceeds the segment (image unchanged) or on a null
    // argument.
    static int insertUpdateList(void* image, void* incoming);
    // Callback for operateSHMNotSafe (arg unused): drops nodes not refreshed
    // for more than NODE_MAX_AGE and, from the kept nodes, the links and
    // movements leading to them. 1; -1 when the image does not decode (image
    // unchanged) or on a null image.
    static int refreshList(void* image, void* arg);

    // Decodes a received node list at *pos (2 bytes not read, a big-endian
    // 32-bit count, the node records) into the local map, cleared first.
    // Bytes consumed with *pos advanced; -1 for a null buffer or cursor, a
    // negative cursor or len (map untouched) or when memory runs out; -2 for
    // a broken node record (nodes decoded before it stay, *pos unchanged).
    // The message must be complete: check untrusted input first.
    int DeSerialize(const char* buf, int* pos, int len);

    // Finds the link the vehicle drives on: the nearest link segment whose
    // direction is within 30 degrees of heading (radians, 0 = east,
    // counterclockwise), first found on ties, accepted when nearer than
    // 3.5 m per lane of its link plus 5 m. Reads the local map only.
    // 1 with *out written and stamped; -1 for a null out; -2 when no link is
    // within reach (*out untouched).
    int calcVehLocationInLM(GeoCoordinates position, double heading, LMMapRes* out);

    std::map<int64_t, LMNodeExtend> nodes;  // the local copy, by nodeId

private:
    // Replaces out by the node list of a segment image (by nodeId), reusing
    // the allocations of the nodes out held. 1, or -1 at the first node that
    // does not decode within the image (out then holds the nodes before it).
    static int decodeImage(const char* image, std::map<int64_t, LMNodeExtend>* out);
    // Zeroes image and writes the node list. 1, or -1 with the image left
    // untouched when the nodes do not fit.
    static int encodeImage(char* image, const std::map<int64_t, LMNodeExtend>& list);
    // The 1 MiB image buffer, allocated at the first use (may throw).
    char* imageBuffer();

    // The image that commit and update build and read, kept between calls:
    // the list is read every cycle, and allocating and clearing 1 MiB each
    // time cost more than decoding the nodes in it. Too large for the stack.
    std::vector<char> segmentImage;
};

#endif
