#ifndef V2XSHM_LOCALMAP_LMLINKEXTEND_H
#define V2XSHM_LOCALMAP_LMLINKEXTEND_H

#include <cstdint>
#include <map>
#include <vector>

#include "localmap/LMLaneExtend.h"
#include "localmap/LMNodeBase.h"
#include "localmap/LMPointBase.h"

// A link with its lanes, speed limits, shape points and movements. Its packed
// LMLinkBase part is copied byte for byte into the flattened image (link
// image, then the four groups, each a 32-bit count and its records).
class LMLinkExtend : public LMLinkBase {
public:
    // Decodes a received link record: length, LMLinkBase record, counted
    // lanes, speed limits, points and movements. Bytes consumed with *pos
    // advanced; -1 for bad arguments (nothing changed); -2 when the base or a
    // child fails, *pos unchanged and the link possibly half filled.
    int DeSerialize(const char* buf, int* pos, int len);
    // Writes the flattened image at *pos (flatSize() bytes, unchecked room).
    // Bytes written with *pos advanced; -1 when a nested write fails.
    int Obj2Buff(char* buf, int* pos) const;
    // Rebuilds the link from a flattened image. Bytes read with *pos
    // advanced; -1 on failure. The first form trusts the image; the second
    // fails instead of reading at or beyond buf[end].
    int buffer2Obj(const char* buf, int* pos);
    int buffer2Obj(const char* buf, int* pos, int end);
    // Bytes of the flattened image: 97 + lanes + 5 per speed limit + 34 per
    // point + 9 per movement.
    int flatSize() const;
    // Folds a newer copy in: base replaced; lanes merged or inserted by key;
    // speed limits and points replaced; movements inserted or overwritten by
    // key. Nothing is ever erased from a map. 1, or -1 when memory runs out.
    int merge(LMLinkExtend other);
    // Drops the movements towards nodeId, in the link and in its lanes,
    // unless the link itself comes from nodeId. Returns 1.
    int removeNodeRelatedData(int64_t nodeId);
    // Fills each point's dis2End: 0 for the last point, then the running sum
    // of the segment lengths back to the first. Lanes' points are untouched.
    void calcPointsDis2End();
    // Speed of the first speed limit of `type`, or defaultSpeed (m/s).
    float getVehSpeedLimByType(uint8_t type, float defaultSpeed) const;

    std::map<uint8_t, LMLaneExtend> lanes;        // by laneID
    std::vector<LMSpeedLimitBase> speedLimits;    // in received order
    std::vector<LMPointBase> points;              // from the far end towards the node
    std::map<int64_t, LMMovementBase> movements;  // by remoteNodeId
};

#endif
