#ifndef V2XSHM_LOCALMAP_LMMESSAGEWALK_H
#define V2XSHM_LOCALMAP_LMMESSAGEWALK_H

// Internal to the local-map sources: the bounded walk under the checked
// decoders of received messages. It follows a message's fields without
// decoding them and never reads at or beyond `end`. Not installed.

#include <cstdint>

#include "codec/SerializeTool.h"
#include "localmap/LMMessageCheck.h"

// A read position that never passes `end`; the first fault sticks.
struct LMMessageWalk {
    const char* buf;
    int at;
    int end;
    int fault;    // 0 while the walk is sound, else an LMMessageCheck code
    int faultAt;  // where the field at fault starts

    bool ok() const { return fault == 0; }

    bool failWith(int code, int fieldAt)
    {
        if (fault == 0) {
            fault = code;
            faultAt = fieldAt;
        }
        return false;
    }

    bool skip(int n)
    {
        if (!ok()) {
            return false;
        }
        if (end - at < n) {
            return failWith(LMMessageCheck::TRUNCATED, at);
        }
        at += n;
        return true;
    }

    // A record's 16-bit length: the decoders read it only to refuse a
    // negative one, then follow the fields.
    bool recordLength()
    {
        if (!ok()) {
            return false;
        }
        if (end - at < 2) {
            return failWith(LMMessageCheck::TRUNCATED, at);
        }
        short len = 0;
        SerializeTool::Byte2Short(buf, &at, &len);
        return len >= 0 || failWith(LMMessageCheck::MALFORMED, at - 2);
    }

    // A text's length byte and its bytes; MALFORMED when longer than cap.
    bool name(int cap)
    {
        if (!skip(1)) {
            return false;
        }
        int n = (uint8_t)buf[at - 1];
        if (n > cap) {
            return failWith(LMMessageCheck::MALFORMED, at - 1);
        }
        return skip(n);
    }

    // A 32-bit count, with the number of records it announces in *n (0 for
    // a negative count, which the decoders read as no records).
    bool count(int minRecord, int* n)
    {
        if (!ok()) {
            return false;
        }
        if (end - at < 4) {
            return failWith(LMMessageCheck::TRUNCATED, at);
        }
        int value = 0;
        SerializeTool::Byte2Int(buf, &at, &value);
        *n = value > 0 ? value : 0;
        if ((int64_t)*n * minRecord > (int64_t)(end - at)) {
            return failWith(LMMessageCheck::TRUNCATED, at - 4);
        }
        return true;
    }

    // A record of fixed fields: length, then `fields` bytes.
    bool fixedRecord(int fields) { return recordLength() && skip(fields); }

    // A counted group whose records all have fixed fields.
    bool fixedGroup(int fields)
    {
        int n = 0;
        if (!count(2 + fields, &n)) {
            return false;
        }
        for (int i = 0; i < n; ++i) {
            if (!fixedRecord(fields)) {
                return false;
            }
        }
        return true;
    }
};

#endif
