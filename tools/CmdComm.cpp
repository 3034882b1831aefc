// v2xshm show comm [--key KEY] [-n N] | comm log --type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]
// v2xshm show ui
//
// The message-traffic ring and totals that a process logs into (the ring
// under KEY, default 77601, its totals under KEY + 1), and the
// user-interface clients registered on the device.
#include "Commands.h"

#include <cstdio>
#include <cstring>
#include <iostream>

#include "FrameJson.h"
#include "ListAccess.h"
#include "ToolParse.h"
#include "ToolText.h"
#include "shm/TimeTool.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/DevUIClientMng.h"

namespace {

// ---- the message-traffic ring and totals ----

constexpr int COMM_DEFAULT_KEY = 77601;

// The ring's and the totals' lists for a ring key: the tool's defaults, or
// lists of the same managers under the key given.
struct CommLists {
    ListInfo record;
    ListInfo sum;
};

// Takes --key KEY out of words; false (with the error printed) when it does
// not parse.
bool commListsOf(std::vector<std::string>* words, CommLists* lists, int* rc)
{
    long long key = COMM_DEFAULT_KEY;
    for (size_t i = 0; i < words->size(); ++i) {
        if ((*words)[i] != "--key") {
            continue;
        }
        if (i + 1 >= words->size() || !parseWhole((*words)[i + 1], 1, 0x7FFFFFFE, &key)) {
            *rc = usageError("--key wants a whole number 1..2147483646 (the ring's key; its totals use KEY + 1)");
            return false;
        }
        words->erase(words->begin() + (long)i, words->begin() + (long)i + 2);
        break;
    }
    lists->record = *findList("comm");
    lists->sum = *findList("commsum");
    lists->record.key = (int)key;
    lists->sum.key = (int)key + 1;
    return true;
}

std::string infoText(int back, int slot, const CommInfo& info, double now)
{
    char head[48];
    snprintf(head, sizeof head, "%4d  slot %3d  ", back, slot);
    double stamp = info.latestRefreshTime;
    std::string age = stamp == 0.0 ? "never stamped" : agoText(stamp, now);
    std::string detail = fieldText(info.detail, CommInfo::DETAIL_LEN);
    return head + std::string("type ") + std::to_string(info.commType) + "  peer " + std::to_string(info.peerId) +
           "  " + std::to_string(info.length) + " B  " + age + (detail.empty() ? "" : "  \"" + printable(detail) + "\"");
}

std::string totalsText(int32_t c1, uint64_t b1, int32_t c2, uint64_t b2)
{
    return "type 1: " + std::to_string(c1) + " messages, " + std::to_string(b1) + " B; type 2: " +
           std::to_string(c2) + " messages, " + std::to_string(b2) + " B";
}

int showComm(const ToolArgs& args)
{
    std::vector<std::string> words = args.words;
    CommLists lists;
    int rc = EXIT_OK;
    if (!commListsOf(&words, &lists, &rc)) {
        return rc;
    }
    long long limit = 20;
    if (words.size() == 2 && words[0] == "-n") {
        if (!parseWhole(words[1], 1, CommRecord::CAPACITY, &limit)) {
            return usageError("-n wants a whole number 1..500, not '" + words[1] + "'");
        }
    } else if (!words.empty()) {
        return usageError("usage: show comm [--key KEY] [-n N]");
    }
    if (!listReady(lists.record) || !listReady(lists.sum)) {
        return EXIT_FAILURE_CODE;
    }
    CommRecordMng records(lists.record.key, false);
    CommSumMng sums(lists.sum.key, false);
    if (guarded("comm", [&] { return records.update(); }) != 1 ||
        guarded("commsum", [&] { return sums.update(); }) != 1) {
        return failure("could not read the message ring or its totals");
    }
    const CommRecord& rec = records.record;
    const CommSum& sum = sums.sum;
    int count = rec.validCount();
    int shown = count < limit ? count : (int)limit;
    int peers = sum.validPeerCount();
    double now = TimeTool::getPreciseTimeNow();
    if (args.json) {
        printJson(CommView{lists.record.key, lists.sum.key, rec, sum, shown});
        return EXIT_OK;
    }
    std::cout << "messages (key " << lists.record.key << "): " << count << " of " << CommRecord::CAPACITY
              << ", newest first\n";
    for (int back = 0; back < shown; ++back) {
        int slot = rec.slotOfNewest(back);
        std::cout << infoText(back, slot, rec.infos[slot], now) << "\n";
    }
    std::cout << "totals (key " << lists.sum.key << "): "
              << totalsText(sum.type1Count, sum.type1Bytes, sum.type2Count, sum.type2Bytes) << "\n";
    for (int i = 0; i < peers; ++i) {
        const CommPeerSum& p = sum.peers[i];
        std::cout << "  peer " << p.peerId << ": " << totalsText(p.type1Count, p.type1Bytes, p.type2Count, p.type2Bytes)
                  << "\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

int commLog(const ToolArgs& args)
{
    const char* usage = "usage: comm log --type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]";
    std::vector<std::string> words(args.words.begin() + 1, args.words.end());
    CommLists lists;
    int rc = EXIT_OK;
    if (!commListsOf(&words, &lists, &rc)) {
        return rc;
    }
    long long type = 0, peer = 0, length = 0;
    bool haveType = false, havePeer = false, haveLength = false;
    std::string detail;
    for (size_t i = 0; i < words.size(); i += 2) {
        if (i + 1 >= words.size()) {
            return usageError(usage);
        }
        const std::string& opt = words[i];
        const std::string& value = words[i + 1];
        if (opt == "--type") {
            if (!parseWhole(value, 1, 2, &type)) return usageError("--type wants 1 or 2, not '" + value + "'");
            haveType = true;
        } else if (opt == "--peer") {
            if (!parseWhole(value, INT32_MIN, INT32_MAX, &peer)) {
                return usageError("--peer wants a 32-bit whole number, not '" + value + "'");
            }
            havePeer = true;
        } else if (opt == "--length") {
            if (!parseWhole(value, 0, UINT32_MAX, &length)) {
                return usageError("--length wants a whole number of bytes 0..4294967295, not '" + value + "'");
            }
            haveLength = true;
        } else if (opt == "--detail") {
            if (value.size() > (size_t)CommInfo::DETAIL_LEN) {
                return usageError("--detail holds at most 16 characters");
            }
            detail = value;
        } else {
            return usageError(usage);
        }
    }
    if (!haveType || !havePeer || !haveLength) {
        return usageError(usage);
    }
    if (!listReady(lists.record) || !listReady(lists.sum)) {
        return EXIT_FAILURE_CODE;
    }
    CommInfo info;
    info.refreshTime();
    info.commType = (int32_t)type;
    info.peerId = (int32_t)peer;
    info.length = (uint32_t)length;
    memcpy(info.detail, detail.data(), detail.size());
    CommRecordMng records(lists.record.key, false);
    CommSumMng sums(lists.sum.key, false);
    if (guarded("comm", [&] { return records.operateSHMNotSafe(CommRecordMng::insertOneInfo2Record, &info); }) != 1) {
        return failure("could not log into the message ring");
    }
    int counted = guarded("commsum", [&] { return sums.operateSHMNotSafe(CommSumMng::addOneCommRecord, &info); });
    if (counted < 0 || guarded("comm", [&] { return records.update(); }) != 1) {
        return failure("logged into the ring, but could not count it in the totals");
    }
    bool noRow = counted == CommSumMng::PEER_TABLE_FULL;
    if (args.json) {
        printJson(CommLogged{records.record.latestIndex, records.record.count, !noRow});
    } else {
        std::cout << "logged a type " << type << " message of " << length << " B with peer " << peer << ": slot "
                  << records.record.latestIndex << ", " << records.record.count << " in the ring"
                  << (noRow ? "; the peer table is full, counted in the type totals only" : "") << std::endl;
    }
    return EXIT_OK;
}

// ---- the UI clients ----

int showUi(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show ui");
    }
    const ListInfo& list = *findList("ui");
    if (!listReady(list)) {
        return EXIT_FAILURE_CODE;
    }
    DevUIClientMng mng(false);
    if (guarded("ui", [&] { return mng.update(); }) != 1) {
        return failure("could not read the ui list");
    }
    double now = TimeTool::getPreciseTimeNow();
    if (args.json) {
        printJson(UiClientsView{mng.clients});
        return EXIT_OK;
    }
    std::cout << "ui clients: " << mng.clients.size() << " of " << DevUIClientListInShm::capacity << "\n";
    for (const UIClient& c : mng.clients) {
        std::cout << "  type " << c.clientType << "  \"" << printable(fieldText(c.firstId, UIClient::FIRST_ID_LEN))
                  << "\" / \"" << printable(fieldText(c.secondId, UIClient::SECOND_ID_LEN)) << "\"  registered "
                  << agoText(c.latestRefreshTime, now) << "\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

}  // namespace

int cmdComm(const ToolArgs& args)
{
    if (!args.words.empty() && args.words[0] == "log") {
        return commLog(args);
    }
    return usageError("usage: comm log --type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]");
}

int cmdShowFrameLists(const std::string& what, const ToolArgs& args)
{
    return what == "ui" ? showUi(args) : showComm(args);
}
