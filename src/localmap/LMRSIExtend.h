#ifndef V2XSHM_LOCALMAP_LMRSIEXTEND_H
#define V2XSHM_LOCALMAP_LMRSIEXTEND_H

#include <vector>

#include "localmap/LMPointBase.h"
#include "localmap/LMRSIBase.h"

// A road-side information record with its reference points (the path it
// applies to). Its flattened image, the form kept by the RSI list in shared
// memory: the 319 bytes of LMRSIBase, a host-order 32-bit point count, then
// each point's 34 bytes in order.
class LMRSIExtend : public LMRSIBase {
public:
    // Decodes a received record: length, LMRSIBase record, a 32-bit count
    // and that many points (duplicates and order kept). Bytes consumed with
    // *pos advanced; -1 for bad arguments (nothing changed) or when memory
    // runs out; -2 when the base, the count or a point fails, *pos unchanged
    // and the record possibly half filled.
    int DeSerialize(const char* buf, int* pos, int len);
    // Writes the flattened image at *pos (flatSize() bytes, room unchecked).
    // Bytes written with *pos advanced; -1 for a null argument.
    int Obj2Buff(char* buf, int* pos) const;
    // Rebuilds the record from a flattened image. Bytes read with *pos
    // advanced; -1 on failure or when memory runs out. The first form trusts
    // the image; the second fails instead of reading at or beyond buf[end].
    int buffer2Obj(const char* buf, int* pos);
    int buffer2Obj(const char* buf, int* pos, int end);
    // Bytes of the flattened image: 323 + 34 per point.
    int flatSize() const;
    // Makes this record a copy of from: base bytes (refresh time and
    // sourceID included), then the points. 1, or -1 when memory runs out
    // (the base is copied, the points may be short).
    int copyObj(const LMRSIExtend& from);

    std::vector<LMPointBase> points;  // in received order
};

#endif
