#ifndef V2XSHM_LOCALMAP_LMMESSAGECHECK_H
#define V2XSHM_LOCALMAP_LMMESSAGECHECK_H

class LMNodeListMng;

// Guards the map decoders against received messages. The node list decoder
// trusts the counts and record lengths it finds and reads wherever they lead;
// a message from the air may be cut short or forged. The walk here follows
// the same fields in the same order without decoding them, knowing where the
// received bytes end, so that only a message the decoder can read entirely
// inside buf[pos, pos + len) ever reaches it.
class LMMessageCheck {
public:
    static constexpr int BAD_ARGS = -1;   // null buffer or cursor, negative cursor or len, pos + len overflows
    static constexpr int MALFORMED = -2;  // a record length below 0 or a name longer than 64 bytes
    static constexpr int TRUNCATED = -3;  // a field, or the records a count announces, lie beyond pos + len
    static constexpr int NO_MEMORY = -4;  // the decoder ran out of memory

    // Walks one received node list (2 unread bytes, a big-endian 32-bit node
    // count, the node records) starting at buf[pos], reading nothing at or
    // beyond buf[pos + len]. Returns the bytes the list spans (at most len;
    // bytes after it are not looked at), or BAD_ARGS, MALFORMED or TRUNCATED
    // for the first fault met in field order. A count that the bytes left
    // cannot hold fails as TRUNCATED before any of its records is visited, so
    // the cost stays linear in len whatever the counts say. A negative count
    // announces no records, as the decoder reads it.
    static int checkNodeList(const char* buf, int pos, int len);
    // The same; on MALFORMED or TRUNCATED, *faultAt (when not null) receives
    // the offset from pos of the field at fault: the length, name length or
    // count that is wrong, or the field that runs past the end.
    static int checkNodeList(const char* buf, int pos, int len, int* faultAt);

    // Decodes a received node list into mng's local map exactly as
    // LMNodeListMng::DeSerialize does, once checkNodeList has passed it.
    // Returns the bytes consumed with *pos advanced; BAD_ARGS (also for a
    // null mng), MALFORMED or TRUNCATED from the check; NO_MEMORY when the
    // decoder runs out of memory. On any failure *pos and the local map are as they
    // were: a broken message never half replaces a map in use.
    static int DeSerializeChecked(LMNodeListMng* mng, const char* buf, int* pos, int len);
};

#endif
