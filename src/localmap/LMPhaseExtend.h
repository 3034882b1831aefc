#ifndef V2XSHM_LOCALMAP_LMPHASEEXTEND_H
#define V2XSHM_LOCALMAP_LMPHASEEXTEND_H

#include <cstdint>
#include <map>

#include "localmap/LMTrafficLightBase.h"

// A signal phase with its light states, at most one per light code. Its
// flattened image: the 2 bytes of LMPhaseBase, a host-order 32-bit count,
// then each state's 26 packed bytes in ascending light order.
class LMPhaseExtend : public LMPhaseBase {
public:
    // Decodes a received phase: length, LMPhaseBase record, a 32-bit count and
    // that many phase states (a later state with the same light code replaces
    // the earlier one). Bytes consumed with *pos advanced; -1 for bad
    // arguments (nothing changed) or when memory runs out; -2 when the base,
    // the count or a state fails, *pos unchanged and the phase possibly half
    // filled.
    int DeSerialize(const char* buf, int* pos, int len);
    // Writes the flattened image at *pos (flatSize() bytes, room unchecked).
    // Bytes written with *pos advanced; -1 for a null argument.
    int Obj2Buff(char* buf, int* pos) const;
    // Rebuilds the phase from a flattened image, replacing its states. Bytes
    // read with *pos advanced; -1 on failure or when memory runs out. The
    // first form trusts the image; the second fails instead of reading at or
    // beyond buf[end].
    int buffer2Obj(const char* buf, int* pos);
    int buffer2Obj(const char* buf, int* pos, int end);
    // Bytes of the flattened image: 6 + 26 per state.
    int flatSize() const;

    std::map<uint8_t, LMPhaseStateBase> phaseStates;  // by light
};

#endif
