#ifndef V2XSHM_LOCALMAP_LMSIGNALCHECK_H
#define V2XSHM_LOCALMAP_LMSIGNALCHECK_H

#include "localmap/LMMessageCheck.h"

class LMRSIListMng;
class LMTLListMng;

// Guards the decoders of received light lists and RSI lists, as
// LMMessageCheck guards the map's: the decoders trust the counts they find
// and read wherever they lead, a message from the air may be cut short or
// forged. The walks here follow the same fields in the same order without
// decoding them, knowing where the received bytes end. The codes are
// LMMessageCheck's.
class LMSignalCheck {
public:
    static constexpr int BAD_ARGS = LMMessageCheck::BAD_ARGS;    // null buffer or cursor, negative cursor or len, pos + len overflows
    static constexpr int MALFORMED = LMMessageCheck::MALFORMED;  // a record length below 0
    static constexpr int TRUNCATED = LMMessageCheck::TRUNCATED;  // a field, or the records a count announces, lie beyond pos + len
    static constexpr int NO_MEMORY = LMMessageCheck::NO_MEMORY;  // the decoder ran out of memory

    // Walks one received light list (2 unread bytes, a big-endian 32-bit
    // light count, the light records with their phases and phase states)
    // starting at buf[pos], reading nothing at or beyond buf[pos + len].
    // Returns the bytes the list spans (at most len), or BAD_ARGS, MALFORMED
    // or TRUNCATED for the first fault met in field order; *faultAt (when
    // not null) then receives the offset from pos of the field at fault. A
    // count that the bytes left cannot hold fails before its records are
    // visited, so the cost stays linear in len; a negative count announces
    // no records, as the decoder reads it.
    static int checkTLList(const char* buf, int pos, int len, int* faultAt = nullptr);
    // The same for a received RSI list (2 unread bytes, a big-endian 32-bit
    // record count, the RSI records with their points).
    static int checkRSIList(const char* buf, int pos, int len, int* faultAt = nullptr);

    // Decodes a received list into mng's local copy exactly as its
    // DeSerialize does, once the walk has passed it. Returns the bytes
    // consumed with *pos advanced; BAD_ARGS (also for a null mng), MALFORMED
    // or TRUNCATED from the walk; NO_MEMORY when the decoder runs out of
    // memory. On any failure *pos and the local copy are as they were.
    static int DeSerializeChecked(LMTLListMng* mng, const char* buf, int* pos, int len);
    static int DeSerializeChecked(LMRSIListMng* mng, const char* buf, int* pos, int len);
};

#endif
