#ifndef V2XSHM_LOCALMAP_LMTRAFFICLIGHTEXTEND_H
#define V2XSHM_LOCALMAP_LMTRAFFICLIGHTEXTEND_H

#include <cstdint>
#include <map>

#include "localmap/LMPhaseExtend.h"
#include "localmap/LMTrafficLightBase.h"

// The signal controller of one intersection with its phases. Its flattened
// image, the form in which the light list keeps it in shared memory: the 21
// bytes of LMTrafficLightBase (refresh time included), a host-order 32-bit
// phase count, then each phase's image in ascending phaseID order.
class LMTrafficLightExtend : public LMTrafficLightBase {
public:
    // Decodes a received light: length, LMTrafficLightBase record, a 32-bit
    // count and that many phases (a later phase with the same phaseID
    // replaces the earlier one). Bytes consumed with *pos advanced; -1 for
    // bad arguments (nothing changed) or when memory runs out; -2 when the
    // base, the count or a phase fails, *pos unchanged and the light
    // possibly half filled (discard it).
    int DeSerialize(const char* buf, int* pos, int len);
    // Writes the flattened image at *pos; the caller provides flatSize()
    // bytes of room. Bytes written with *pos advanced; -1 when a nested
    // write fails.
    int Obj2Buff(char* buf, int* pos) const;
    // Rebuilds the light from a flattened image, replacing its phases. Bytes
    // read with *pos advanced; -1 on failure or when memory runs out. The
    // first form trusts the image; the second fails instead of reading at or
    // beyond buf[end] (for images a writer may have left half written).
    int buffer2Obj(const char* buf, int* pos);
    int buffer2Obj(const char* buf, int* pos, int end);
    // Bytes of the flattened image: 25 + the phases' images.
    int flatSize() const;

    std::map<uint8_t, LMPhaseExtend> phases;  // by phaseID
};

#endif
