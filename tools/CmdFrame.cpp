// v2xshm frame decode HEX|- | frame build --type T --subtype S [DATA_HEX]
// v2xshm show comm [--key KEY] [-n N] | comm log --type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]
// v2xshm show ui
//
// Framed messages as they cross a serial line or a socket, taken apart and
// put together by hand; the message-traffic ring and totals that a process
// logs into (the ring under KEY, default 77601, its totals under KEY + 1);
// and the user-interface clients registered on the device.
#include "Commands.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>

#include "codec/VI2CFrame.h"
#include "shm/TimeTool.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/DevUIClientMng.h"

namespace {

// ---- small parsers and printers ----

// The whole text as a whole number within [lo, hi], by the tool's rule.
bool parseWhole(const std::string& text, long long lo, long long hi, long long* out)
{
    return readWholeNumber(text, lo, hi, out) == WholeNumber::OK;
}

// Hex digit pairs, blanks anywhere between them ignored. On failure *error
// says what is wrong.
bool parseHex(const std::string& text, std::vector<char>* out, std::string* error)
{
    std::string digits;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned char c = (unsigned char)text[i];
        if (isspace(c)) {
            continue;
        }
        if (!isxdigit(c)) {
            *error = "not a hex digit at character " + std::to_string(i + 1) + ": '" + std::string(1, (char)c) + "'";
            return false;
        }
        digits += (char)c;
    }
    if (digits.size() % 2 != 0) {
        *error = "odd number of hex digits (" + std::to_string(digits.size()) + ")";
        return false;
    }
    out->clear();
    for (size_t i = 0; i < digits.size(); i += 2) {
        out->push_back((char)strtol(digits.substr(i, 2).c_str(), nullptr, 16));
    }
    return true;
}

std::string hexOf(const char* bytes, int n)
{
    std::string out;
    char buf[4];
    for (int i = 0; i < n; ++i) {
        snprintf(buf, sizeof buf, "%02x", (unsigned)(uint8_t)bytes[i]);
        out += buf;
    }
    return out;
}

std::string hexByte(uint8_t value)
{
    char c = (char)value;
    return hexOf(&c, 1);
}

std::string fixed(double value, int decimals)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

std::string fieldText(const char* field, size_t width)
{
    return std::string(field, strnlen(field, width));
}

std::string printable(std::string text)
{
    for (char& c : text) {
        if ((unsigned char)c < 0x20 || (unsigned char)c >= 0x7f) {
            c = '?';
        }
    }
    return text;
}

// The list is owned and its segment large enough to attach as a non-owner.
bool listReady(const ListInfo& list)
{
    if (!requireOwner(list)) {
        return false;
    }
    ListProbe probe = probeList(list);
    if (probe.segmentSize < list.size) {
        failure(std::string("segment of list ") + list.name + " (key " + std::to_string(list.key) + ") has " +
                std::to_string(probe.segmentSize) + " bytes, the list needs " + std::to_string(list.size));
        return false;
    }
    return true;
}

template <typename Fn>
int guarded(const char* name, Fn fn)
{
    guardLockWait(name);
    int rc = fn();
    releaseLockGuard();
    return rc;
}

// ---- frame decode ----

// One thing found walking the bytes.
struct Finding {
    enum Kind { FRAME, BAD_CHECK, INCOMPLETE, SKIPPED } kind;
    int offset;
    int bytes;        // bytes it spans (SKIPPED: the run's length)
    VI2CFrame frame;  // header (and data for FRAME)
    uint8_t computed; // BAD_CHECK: the check byte the frame should carry
    uint8_t carried;
};

// Walks the bytes as a stream reader does after the end of input: a valid
// frame is taken whole; anywhere else the walk moves one byte on, noting a
// frame whose check byte is wrong or that is cut short at the end.
std::vector<Finding> findFrames(const std::vector<char>& bytes)
{
    std::vector<Finding> found;
    int n = (int)bytes.size();
    int pos = 0;
    auto skip = [&](int at) {
        if (!found.empty() && found.back().kind == Finding::SKIPPED && found.back().offset + found.back().bytes == at) {
            ++found.back().bytes;
        } else {
            found.push_back(Finding{Finding::SKIPPED, at, 1, VI2CFrame(), 0, 0});
        }
    };
    while (pos < n) {
        Finding f{Finding::FRAME, pos, 0, VI2CFrame(), 0, 0};
        int rc = f.frame.resolveFrame(bytes.data(), &pos, n - pos);
        if (rc > 0) {
            f.bytes = rc;
            found.push_back(f);
            continue;
        }
        int dataLen = f.frame.dataLen;
        bool header = rc == -3 && dataLen >= 0 && dataLen <= VI2CFrame::DATA_MAX;
        if (header && n - pos < dataLen + VI2CFrame::MIN_LEN) {
            f.kind = Finding::INCOMPLETE;
            f.bytes = n - pos;
            found.push_back(f);
        } else if (header) {
            f.kind = Finding::BAD_CHECK;
            f.bytes = dataLen + VI2CFrame::MIN_LEN;
            VI2CFrame::calcCRC(bytes.data(), pos + 2, dataLen + 4, &f.computed);
            f.carried = (uint8_t)bytes[pos + VI2CFrame::HEAD_LEN + dataLen];
            found.push_back(f);
        } else {
            skip(pos);
        }
        ++pos;
    }
    return found;
}

std::string findingJson(const Finding& f)
{
    static const char* KINDS[] = {"frame", "badCheck", "incomplete", "skipped"};
    std::string out = "{\"kind\":\"" + std::string(KINDS[f.kind]) + "\",\"offset\":" + std::to_string(f.offset) +
                      ",\"bytes\":" + std::to_string(f.bytes);
    if (f.kind == Finding::SKIPPED) {
        return out + "}";
    }
    out += ",\"type\":" + std::to_string(f.frame.frameType) + ",\"subType\":" + std::to_string(f.frame.frameSubType) +
           ",\"dataLen\":" + std::to_string(f.frame.dataLen);
    if (f.kind == Finding::FRAME) {
        out += ",\"data\":\"" + hexOf(f.frame.data, f.frame.dataLen) + "\",\"checkOk\":true";
    } else if (f.kind == Finding::BAD_CHECK) {
        out += ",\"checkOk\":false,\"check\":\"" + hexByte(f.carried) + "\",\"expected\":\"" + hexByte(f.computed) +
               "\"";
    }
    return out + "}";
}

std::string findingText(const Finding& f)
{
    std::string at = " at " + std::to_string(f.offset);
    if (f.kind == Finding::SKIPPED) {
        return "skipped " + std::to_string(f.bytes) + " byte" + (f.bytes == 1 ? "" : "s") + at;
    }
    std::string head = ": type " + std::to_string(f.frame.frameType) + ", sub-type " +
                       std::to_string(f.frame.frameSubType) + ", " + std::to_string(f.frame.dataLen) + " data bytes";
    switch (f.kind) {
    case Finding::FRAME:
        return "frame" + at + head + " [" + hexOf(f.frame.data, f.frame.dataLen) + "], check byte ok";
    case Finding::BAD_CHECK:
        return "corrupt frame" + at + head + ", check byte " + hexByte(f.carried) + " wrong (expected " +
               hexByte(f.computed) + ")";
    default:
        return "incomplete frame" + at + head + ", " + std::to_string(f.bytes) + " of " +
               std::to_string(f.frame.dataLen + VI2CFrame::MIN_LEN) + " bytes";
    }
}

int frameDecode(const ToolArgs& args)
{
    if (args.words.size() != 2) {
        return usageError("usage: frame decode HEX|-");
    }
    std::string text = args.words[1];
    if (text == "-") {
        // Two hex digits a byte for a segment's worth of frames at most: an
        // endless stdin (a device, a stuck pipe of zeros) is cut off there.
        const size_t limit = 2 * 1024 * 1024;
        text.assign(limit + 1, '\0');
        std::cin.read(&text[0], (std::streamsize)text.size());
        text.resize((size_t)std::cin.gcount());
        if (text.size() > limit) {
            return usageError("frame decode: more than " + std::to_string(limit) + " characters on stdin");
        }
    }
    std::vector<char> bytes;
    std::string error;
    if (!parseHex(text, &bytes, &error)) {
        return usageError("frame decode: " + error);
    }
    if (bytes.empty()) {
        return usageError("frame decode: no bytes given");
    }
    std::vector<Finding> found = findFrames(bytes);
    int frames = 0;
    for (const Finding& f : found) {
        frames += f.kind == Finding::FRAME ? 1 : 0;
    }
    bool clean = frames == (int)found.size();
    if (args.json) {
        std::cout << "{\"bytes\":" << bytes.size() << ",\"frames\":" << frames << ",\"clean\":"
                  << (clean ? "true" : "false") << ",\"found\":[";
        for (size_t i = 0; i < found.size(); ++i) {
            std::cout << (i ? "," : "") << findingJson(found[i]);
        }
        std::cout << "]}" << std::endl;
    } else {
        for (const Finding& f : found) {
            std::cout << findingText(f) << "\n";
        }
        std::cout << frames << " frame" << (frames == 1 ? "" : "s") << " in " << bytes.size() << " bytes"
                  << std::endl;
    }
    // Scripts can tell a clean stream from one with bytes outside valid frames.
    return clean ? EXIT_OK : EXIT_FAILURE_CODE;
}

// ---- frame build ----

int frameBuild(const ToolArgs& args)
{
    const char* usage = "usage: frame build --type T --subtype S [DATA_HEX]";
    long long type = -1, subType = -1;
    std::string dataHex;
    bool haveData = false;
    for (size_t i = 1; i < args.words.size(); ++i) {
        const std::string& w = args.words[i];
        if ((w == "--type" || w == "--subtype") && i + 1 < args.words.size()) {
            if (!parseWhole(args.words[i + 1], 0, 255, w == "--type" ? &type : &subType)) {
                return usageError(w + " wants a whole number 0..255, not '" + args.words[i + 1] + "'");
            }
            ++i;
        } else if (!haveData && (w.empty() || w[0] != '-')) {
            dataHex = w;
            haveData = true;
        } else {
            return usageError(usage);
        }
    }
    if (type < 0 || subType < 0) {
        return usageError(usage);
    }
    std::vector<char> data;
    std::string error;
    if (!parseHex(dataHex, &data, &error)) {
        return usageError("frame build: data: " + error);
    }
    if (data.size() > (size_t)VI2CFrame::DATA_MAX) {
        return usageError("frame build: " + std::to_string(data.size()) + " data bytes; a frame holds at most " +
                          std::to_string(VI2CFrame::DATA_MAX));
    }
    VI2CFrame frame;
    frame.frameType = (uint8_t)type;
    frame.frameSubType = (uint8_t)subType;
    frame.dataLen = (int16_t)data.size();
    if (!data.empty()) memcpy(frame.data, data.data(), data.size());
    std::vector<char> out(VI2CFrame::MAX_LEN);
    int pos = 0;
    int len = frame.buildFrame(out.data(), &pos);
    if (args.json) {
        std::cout << "{\"frame\":\"" << hexOf(out.data(), len) << "\",\"bytes\":" << len << "}" << std::endl;
    } else {
        std::cout << hexOf(out.data(), len) << std::endl;
    }
    return EXIT_OK;
}

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

std::string infoJson(int slot, const CommInfo& info)
{
    return "{\"slot\":" + std::to_string(slot) + ",\"time\":" + fixed(info.latestRefreshTime, 6) + ",\"type\":" +
           std::to_string(info.commType) + ",\"peer\":" + std::to_string(info.peerId) + ",\"length\":" +
           std::to_string(info.length) + ",\"detail\":" + jsonString(fieldText(info.detail, CommInfo::DETAIL_LEN)) + "}";
}

std::string totalsJson(int32_t c1, uint64_t b1, int32_t c2, uint64_t b2)
{
    return "\"type1Count\":" + std::to_string(c1) + ",\"type1Bytes\":" + std::to_string(b1) + ",\"type2Count\":" +
           std::to_string(c2) + ",\"type2Bytes\":" + std::to_string(b2);
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
        std::cout << "{\"key\":" << lists.record.key << ",\"sumKey\":" << lists.sum.key << ",\"latestIndex\":"
                  << rec.latestIndex << ",\"count\":" << rec.count << ",\"records\":[";
        for (int back = 0; back < shown; ++back) {
            int slot = rec.slotOfNewest(back);
            std::cout << (back ? "," : "") << infoJson(slot, rec.infos[slot]);
        }
        std::cout << "],\"totals\":{" << totalsJson(sum.type1Count, sum.type1Bytes, sum.type2Count, sum.type2Bytes)
                  << "},\"peers\":[";
        for (int i = 0; i < peers; ++i) {
            const CommPeerSum& p = sum.peers[i];
            std::cout << (i ? "," : "") << "{\"peer\":" << p.peerId << ","
                      << totalsJson(p.type1Count, p.type1Bytes, p.type2Count, p.type2Bytes) << "}";
        }
        std::cout << "]}" << std::endl;
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
        std::cout << "{\"slot\":" << records.record.latestIndex << ",\"count\":" << records.record.count
                  << ",\"peerRow\":" << (noRow ? "false" : "true") << "}" << std::endl;
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
        std::cout << "{\"count\":" << mng.clients.size() << ",\"clients\":[";
        for (size_t i = 0; i < mng.clients.size(); ++i) {
            const UIClient& c = mng.clients[i];
            std::cout << (i ? "," : "") << "{\"type\":" << c.clientType << ",\"firstId\":"
                      << jsonString(fieldText(c.firstId, UIClient::FIRST_ID_LEN)) << ",\"secondId\":"
                      << jsonString(fieldText(c.secondId, UIClient::SECOND_ID_LEN))
                      << ",\"registered\":" << fixed(c.latestRefreshTime, 6) << "}";
        }
        std::cout << "]}" << std::endl;
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

int cmdFrame(const ToolArgs& args)
{
    std::string sub = args.words.empty() ? "" : args.words[0];
    if (sub == "decode") return frameDecode(args);
    if (sub == "build") return frameBuild(args);
    return usageError("usage: frame decode HEX|- | frame build --type T --subtype S [DATA_HEX]");
}

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
