#include "localmap/LMMessageCheck.h"

#include <climits>
#include <cstdint>
#include <map>
#include <utility>

#include "codec/SerializeTool.h"
#include "localmap/LMMessageWalk.h"
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

// The map's records on top of the generic walk.
struct Walk : LMMessageWalk {
    bool name() { return LMMessageWalk::name(NAME_MAX_LEN); }

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
    Walk walk{{buf, pos, pos + len, 0, 0}};
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
