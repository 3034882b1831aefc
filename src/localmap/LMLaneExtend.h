#ifndef V2XSHM_LOCALMAP_LMLANEEXTEND_H
#define V2XSHM_LOCALMAP_LMLANEEXTEND_H

#include <cstdint>
#include <map>
#include <vector>

#include "localmap/LMNodeBase.h"
#include "localmap/LMPointBase.h"

// A lane with its shape points and its movements. Not a shared record itself:
// its packed LMLaneBase part is copied byte for byte into the flattened image
// (lane image, point count, points, movement count, movements by key).
class LMLaneExtend : public LMLaneBase {
public:
    // Decodes a received lane record: length, LMLaneBase record, counted
    // points, counted movements. Bytes consumed with *pos advanced; -1 for bad
    // arguments (nothing changed); -2 when the base or a child fails, *pos
    // unchanged and the lane possibly half filled.
    int DeSerialize(const char* buf, int* pos, int len);
    // Writes the flattened image at *pos (flatSize() bytes, unchecked room).
    // Bytes written with *pos advanced; -1 for a null argument.
    int Obj2Buff(char* buf, int* pos) const;
    // Rebuilds the lane from a flattened image. Bytes read with *pos
    // advanced; -1 on failure. The first form trusts the image; the second
    // fails instead of reading at or beyond buf[end].
    int buffer2Obj(const char* buf, int* pos);
    int buffer2Obj(const char* buf, int* pos, int end);
    // Bytes of the flattened image: 16 + 34 per point + 9 per movement.
    int flatSize() const;
    // Folds a newer copy in: base and points replaced, movements inserted or
    // overwritten by key, others kept. 1, or -1 when memory runs out.
    int merge(LMLaneExtend other);

    std::vector<LMPointBase> points;              // in received order
    std::map<int64_t, LMMovementBase> movements;  // by remoteNodeId
};

#endif
