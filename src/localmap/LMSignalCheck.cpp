#include "localmap/LMSignalCheck.h"

#include <climits>
#include <map>
#include <utility>
#include <vector>

#include "localmap/LMMessageWalk.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

namespace {

// Wire sizes after a record's own 16-bit length.
constexpr int PHASE_STATE_FIELDS = 1 + 4 * 4 + 1 + 2 * 4;
constexpr int PHASE_BASE_FIELDS = 2;
constexpr int LIGHT_BASE_FIELDS = 8 + 2 + 2 + 1;
constexpr int POINT_FIELDS = 3 * 8 + 2;
constexpr int TEXT_MAX_LEN = 255;  // one length byte

// Smallest record of each kind on the wire (groups and text empty).
constexpr int MIN_PHASE = 2 + (2 + PHASE_BASE_FIELDS) + 4;
constexpr int MIN_LIGHT = 2 + (2 + LIGHT_BASE_FIELDS) + 4;
constexpr int MIN_RSI = 2 + (2 + POINT_FIELDS + 2 + 4 + 2 + 1 + 1 + 4) + 4;

struct Walk : LMMessageWalk {
    bool phase()
    {
        return recordLength() && fixedRecord(PHASE_BASE_FIELDS) && fixedGroup(PHASE_STATE_FIELDS);
    }

    bool light()
    {
        if (!recordLength() || !fixedRecord(LIGHT_BASE_FIELDS)) {
            return false;
        }
        return group(MIN_PHASE, &Walk::phase);
    }

    bool rsiBase()
    {
        return recordLength() && skip(POINT_FIELDS + 2 + 4 + 2) && name(TEXT_MAX_LEN) && skip(1 + 4);
    }

    bool rsi() { return recordLength() && rsiBase() && fixedGroup(POINT_FIELDS); }

    // A count and that many records of a kind whose smallest is minRecord.
    bool group(int minRecord, bool (Walk::*record)())
    {
        int n = 0;
        if (!count(minRecord, &n)) {
            return false;
        }
        for (int i = 0; i < n; ++i) {
            if (!(this->*record)()) {
                return false;
            }
        }
        return true;
    }

    // The list framing: 2 unread bytes, then a counted group.
    bool list(int minRecord, bool (Walk::*record)()) { return skip(2) && group(minRecord, record); }
};

int walkList(const char* buf, int pos, int len, int* faultAt, int minRecord, bool (Walk::*record)())
{
    if (buf == nullptr || pos < 0 || len < 0 || len > INT_MAX - pos) {
        return LMSignalCheck::BAD_ARGS;
    }
    Walk walk{{buf, pos, pos + len, 0, 0}};
    if (!walk.list(minRecord, record)) {
        if (faultAt != nullptr) {
            *faultAt = walk.faultAt - pos;
        }
        return walk.fault;
    }
    return walk.at - pos;
}

// Runs the walk, then the decoder with the local copy set aside, so that
// running out of memory halfway still leaves the copy in place.
template <typename Mng, typename Copy>
int decodeChecked(Mng* mng, Copy Mng::*copy, int (*check)(const char*, int, int, int*), const char* buf, int* pos,
                  int len)
{
    if (mng == nullptr || pos == nullptr) {
        return LMSignalCheck::BAD_ARGS;
    }
    int span = check(buf, *pos, len, nullptr);
    if (span < 0) {
        return span;
    }
    Copy kept;
    kept.swap(mng->*copy);
    int used = mng->DeSerialize(buf, pos, len);
    if (used < 0) {
        (mng->*copy).swap(kept);
        return LMSignalCheck::NO_MEMORY;
    }
    return used;
}

}  // namespace

int LMSignalCheck::checkTLList(const char* buf, int pos, int len, int* faultAt)
{
    return walkList(buf, pos, len, faultAt, MIN_LIGHT, &Walk::light);
}

int LMSignalCheck::checkRSIList(const char* buf, int pos, int len, int* faultAt)
{
    return walkList(buf, pos, len, faultAt, MIN_RSI, &Walk::rsi);
}

int LMSignalCheck::DeSerializeChecked(LMTLListMng* mng, const char* buf, int* pos, int len)
{
    return decodeChecked(mng, &LMTLListMng::lights, checkTLList, buf, pos, len);
}

int LMSignalCheck::DeSerializeChecked(LMRSIListMng* mng, const char* buf, int* pos, int len)
{
    return decodeChecked(mng, &LMRSIListMng::records, checkRSIList, buf, pos, len);
}
