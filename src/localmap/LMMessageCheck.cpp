#include "localmap/LMMessageCheck.h"

#include <climits>
#include <cstdint>
#include <map>
#include <utility>

#include "codec/SerializeTool.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMNodeListMng.h"

namespace {

constexpr int NAME_MAX_LEN = 64;

// Wire sizes after a record's own 16-bit length.
constexpr int POSITION_BYTES = 3 * 8 + 2;  // three doubles, two hemisphere letters
constexpr int POINT_FIELDS = POSITION_BYTES;
constexpr int MOVEMENT_FIELDS = 8 + 1;
constexpr int SPEED_LIMIT_FIELDS = 1 + 4;
constexpr int LANE_BASE_FIELDS = 8;

// Smallest record of each kind on the wire (names empty, groups empty): a
// count larger than the bytes left divided by this cannot be honest.
constexpr int MIN_LANE = 2 + (2 + LANE_BASE_FIELDS) + 4 + 4;
constexpr int MIN_LINK = 2 + (2 + 8 + 1 + 4 + 1 + 4) + 4 * 4;
constexpr int MIN_NODE = 2 + (2 + POSITION_BYTES + 1 + 8) + 4;

// A read position that never passes `end`; the first fault sticks.
struct Walk {
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

    // A name's length byte and its bytes.
    bool name()
    {
        if (!skip(1)) {
            return false;
        }
        int n = (uint8_t)buf[at - 1];
        if (n > NAME_MAX_LEN) {
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

    bool lane()
    {
        return recordLength() && fixedRecord(LANE_BASE_FIELDS) && fixedGroup(POINT_FIELDS)
            && fixedGroup(MOVEMENT_FIELDS);
    }

    bool linkBase()
    {
        return recordLength() && skip(8) && name() && skip(4 + 1 + 4);
    }

    bool link()
    {
        if (!recordLength() || !linkBase()) {
            return false;
        }
        int lanes = 0;
        if (!count(MIN_LANE, &lanes)) {
            return false;
        }
        for (int i = 0; i < lanes; ++i) {
            if (!lane()) {
                return false;
            }
        }
        return fixedGroup(SPEED_LIMIT_FIELDS) && fixedGroup(POINT_FIELDS) && fixedGroup(MOVEMENT_FIELDS);
    }

    bool nodeBase()
    {
        return recordLength() && skip(POSITION_BYTES) && name() && skip(8);
    }

    bool node()
    {
        if (!recordLength() || !nodeBase()) {
            return false;
        }
        int links = 0;
        if (!count(MIN_LINK, &links)) {
            return false;
        }
        for (int i = 0; i < links; ++i) {
            if (!link()) {
                return false;
            }
        }
        return true;
    }

    bool nodeList()
    {
        int nodes = 0;
        if (!skip(2) || !count(MIN_NODE, &nodes)) {
            return false;
        }
        for (int i = 0; i < nodes; ++i) {
            if (!node()) {
                return false;
            }
        }
        return true;
    }
};

}  // namespace

int LMMessageCheck::checkNodeList(const char* buf, int pos, int len)
{
    return checkNodeList(buf, pos, len, nullptr);
}

int LMMessageCheck::checkNodeList(const char* buf, int pos, int len, int* faultAt)
{
    if (buf == nullptr || pos < 0 || len < 0 || len > INT_MAX - pos) {
        return BAD_ARGS;
    }
    Walk walk{buf, pos, pos + len, 0, 0};
    if (!walk.nodeList()) {
        if (faultAt != nullptr) {
            *faultAt = walk.faultAt - pos;
        }
        return walk.fault;
    }
    return walk.at - pos;
}

int LMMessageCheck::DeSerializeChecked(LMNodeListMng* mng, const char* buf, int* pos, int len)
{
    if (mng == nullptr || pos == nullptr) {
        return BAD_ARGS;
    }
    int span = checkNodeList(buf, *pos, len);
    if (span < 0) {
        return span;
    }
    // The decoder clears the map before it fills it; keep the old one aside
    // so that running out of memory halfway still leaves it in place.
    std::map<int64_t, LMNodeExtend> kept;
    kept.swap(mng->nodes);
    int used = mng->DeSerialize(buf, pos, len);
    if (used < 0) {
        mng->nodes.swap(kept);
        return NO_MEMORY;
    }
    return used;
}
