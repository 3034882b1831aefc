#include "ReceivedLists.h"

#include <cstring>

#include "ToolCommon.h"
#include "localmap/LMMessageCheck.h"
#include "localmap/LMSignalCheck.h"

namespace {

struct KindText {
    const char* list;
    const char* what;       // "map message"
    const char* malformed;  // what the walk found wrong
};

KindText textOf(Received kind)
{
    switch (kind) {
    case Received::MAP:
        return {"map", "map message", "a record length below 0 or a name over 64 bytes"};
    case Received::LIGHTS:
        return {"lights", "light list", "a record length below 0"};
    default:
        return {"rsi", "RSI list", "a record length below 0"};
    }
}

// Runs the guarded merge of one list; 1 on success.
template <typename Mng, typename Arg>
int mergeGuarded(Mng& mng, const char* list, int (*merge)(void*, void*), Arg* arg)
{
    guardLockWait(list);
    int rc = mng.operateSHMNotSafe(merge, arg);
    releaseLockGuard();
    return rc;
}

}  // namespace

const char* receivedList(Received kind)
{
    return textOf(kind).list;
}

std::string checkReceived(Received kind, const std::vector<char>& bytes, const char* container)
{
    KindText t = textOf(kind);
    int size = (int)bytes.size();
    int faultAt = 0;
    int span = kind == Received::MAP      ? LMMessageCheck::checkNodeList(bytes.data(), 0, size, &faultAt)
               : kind == Received::LIGHTS ? LMSignalCheck::checkTLList(bytes.data(), 0, size, &faultAt)
                                          : LMSignalCheck::checkRSIList(bytes.data(), 0, size, &faultAt);
    std::string where = " at byte " + std::to_string(faultAt);
    if (span == LMMessageCheck::MALFORMED) {
        return std::string("not a valid ") + t.what + ": " + t.malformed + where;
    }
    if (span == LMMessageCheck::TRUNCATED) {
        return std::string(t.what) + " cut short: a count or field" + where + " runs past the " + container + "'s " +
               std::to_string(size) + " bytes";
    }
    if (span < 0) {
        return std::string("not a ") + t.what;
    }
    if (span != size) {
        return std::to_string(size - span) + " bytes after the end of the " + t.what + " at byte " +
               std::to_string(span);
    }
    return "";
}

std::string insertMapMessage(LMNodeListMng& mng, const std::vector<char>& bytes)
{
    int pos = 0;
    if (LMMessageCheck::DeSerializeChecked(&mng, bytes.data(), &pos, (int)bytes.size()) != (int)bytes.size()) {
        return "out of memory while decoding";
    }
    // A receiving process derives the distances to each link's end before
    // anyone relies on them.
    for (auto& node : mng.nodes) {
        for (auto& link : node.second.links) {
            link.second.calcPointsDis2End();
        }
    }
    std::map<int64_t, LMNodeExtend> incoming = mng.nodes;  // the merge takes the nodes it merges out of it
    if (mergeGuarded(mng, "map", LMNodeListMng::insertUpdateList, &incoming) != 1) {
        return "the map list could not take these nodes (it holds " + std::to_string(LMNodeListMng::SHM_SIZE) +
               " bytes); nothing changed";
    }
    return "";
}

std::string insertLightMessage(LMTLListMng& mng, const std::vector<char>& bytes,
                               std::map<int64_t, LMTrafficLightExtend>* incoming)
{
    int pos = 0;
    if (LMSignalCheck::DeSerializeChecked(&mng, bytes.data(), &pos, (int)bytes.size()) != (int)bytes.size()) {
        return "out of memory while decoding";
    }
    *incoming = mng.lights;
    if (mergeGuarded(mng, "lights", LMTLListMng::insertUpdateList, incoming) != 1) {
        return "the light list could not take these lights; nothing changed";
    }
    return "";
}

std::string insertRsiMessage(LMRSIListMng& mng, const std::vector<char>& bytes, const std::string& source,
                             size_t* added)
{
    int pos = 0;
    if (LMSignalCheck::DeSerializeChecked(&mng, bytes.data(), &pos, (int)bytes.size()) != (int)bytes.size()) {
        return "out of memory while decoding";
    }
    size_t length = source.size() < (size_t)LMRSIBase::SOURCE_LEN ? source.size() : (size_t)LMRSIBase::SOURCE_LEN;
    for (LMRSIExtend& rec : mng.records) {
        memcpy(rec.sourceID, source.data(), length);
    }
    std::vector<LMRSIExtend> incoming = mng.records;
    if (mergeGuarded(mng, "rsi", LMRSIListMng::insertUpdateListMulti, &incoming) != 1) {
        return "the RSI list could not take these records; nothing changed";
    }
    *added = incoming.size();
    return "";
}
