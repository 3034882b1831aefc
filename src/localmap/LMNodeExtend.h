#ifndef V2XSHM_LOCALMAP_LMNODEEXTEND_H
#define V2XSHM_LOCALMAP_LMNODEEXTEND_H

#include <cstdint>
#include <map>

#include "localmap/LMLinkExtend.h"
#include "localmap/LMNodeBase.h"

// An intersection with the links arriving at it. Its packed LMNodeBase part
// (refresh time included) is copied byte for byte into the flattened image:
// node image (106 bytes), 32-bit link count, each link's image by key. This
// is the form in which the node list keeps the map in shared memory.
class LMNodeExtend : public LMNodeBase {
public:
    // Decodes a received node record: length, LMNodeBase record, counted
    // links. Bytes consumed with *pos advanced; -1 for bad arguments (nothing
    // changed) or when memory runs out; -2 when the base or a child fails,
    // *pos unchanged and the node possibly half filled (discard it).
    int DeSerialize(const char* buf, int* pos, int len);
    // Writes the flattened image at *pos; the caller provides flatSize()
    // bytes of room. Bytes written with *pos advanced; -1 when a nested write
    // fails.
    int Obj2Buff(char* buf, int* pos) const;
    // Rebuilds the node from a flattened image. Bytes read with *pos
    // advanced; -1 on failure or when memory runs out. The first form trusts
    // the image; the second fails instead of reading at or beyond buf[end]
    // (for images that a writer may have left half written).
    int buffer2Obj(const char* buf, int* pos);
    int buffer2Obj(const char* buf, int* pos, int end);
    // Bytes of the flattened image: 110 + the links' images.
    int flatSize() const;
    // Folds a newer copy of this node in: its whole base (refresh time too)
    // replaces ours; its links are merged where ours have the key, inserted
    // otherwise; links only we have stay. 1, or -1 when memory runs out.
    int merge(LMNodeExtend other);
    // Removes what leads to the vanished node nodeId: the link coming from it
    // and, in every other link, the movements towards it. Nothing when
    // nodeId is this node's own id. Returns 1.
    int removeNodeRelatedData(int64_t nodeId);

    std::map<int64_t, LMLinkExtend> links;  // by upstreamNodeId
};

#endif
