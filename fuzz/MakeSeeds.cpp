// Writes the seed corpus of one fuzz target into a directory: well-formed
// messages from the message writers, small and large, for the fuzzer to
// mutate from.
//
//   fuzz_seeds KIND DIR      KIND: the target's name after fuzz_

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "v2xshm-unit/LMMessageWriter.h"
#include "codec/RTCMShortFrame.h"
#include "codec/VI2CFrame.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"

namespace {

bool writeFile(const std::string& path, const std::vector<char>& bytes)
{
    std::ofstream out(path, std::ios::binary);
    return out.write(bytes.data(), (std::streamsize)bytes.size()).flush().good();
}

template <typename Record>
bool writeListSeed(const std::string& dir, const char* name, const std::vector<Record>& records,
                   int (*write)(const std::vector<Record>&, std::vector<char>*))
{
    std::vector<char> bytes;
    return write(records, &bytes) >= 0 && writeFile(dir + "/" + name, bytes);
}

// Received node lists: one node of everything with names of the longest
// allowed length, a bare node, and an id sent twice.
bool nodeListSeeds(const std::string& dir)
{
    std::vector<LMNodeExtend> sample = SampleIntersection::nodes();
    LMNodeExtend full = sample[1];
    memset(full.name, 'n', sizeof full.name);
    for (auto& link : full.links) {
        memset(link.second.name, 'l', sizeof link.second.name);
    }
    LMNodeExtend bare;
    bare.nodeId = 1;
    auto w = LMMessageWriter::writeNodeList;
    return writeListSeed(dir, "empty", {}, w) && writeListSeed(dir, "sample", sample, w)
        && writeListSeed(dir, "long-names", {full}, w) && writeListSeed(dir, "repeated-id", {bare, sample[0], bare}, w);
}

std::vector<char> frameBytes(uint8_t type, uint8_t subType, const std::vector<char>& data)
{
    VI2CFrame frame;
    frame.frameType = type;
    frame.frameSubType = subType;
    frame.dataLen = (int16_t)data.size();
    if (!data.empty()) memcpy(frame.data, data.data(), data.size());
    std::vector<char> out(VI2CFrame::MAX_LEN);
    int pos = 0;
    out.resize((size_t)frame.buildFrame(out.data(), &pos));
    return out;
}

std::vector<char> joined(const std::vector<std::vector<char>>& parts)
{
    std::vector<char> out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// Byte streams: two bytes choosing the piece sizes, then frames, stray bytes,
// a corrupt frame with a frame inside, a frame cut short at the end.
bool frameStreamSeeds(const std::string& dir)
{
    std::vector<char> example = frameBytes(1, 2, {0x10, 0x20});
    std::vector<char> corrupt = frameBytes(4, 0, example);
    corrupt.back() ^= 1;
    std::vector<char> cut = frameBytes(7, 7, std::vector<char>(40, 0x55));
    cut.resize(20);
    return writeFile(dir + "/one", joined({{1, 0}, example}))
        && writeFile(dir + "/back-to-back", joined({{7, 3}, example, frameBytes(0, 0, {}), example}))
        && writeFile(dir + "/stray-and-corrupt", joined({{0, 9}, {0, (char)0xFA}, corrupt, {(char)0xFB}, example}))
        && writeFile(dir + "/largest", joined({{63, 1}, frameBytes(0xFF, 0x80, std::vector<char>(2048, 0x33))}))
        && writeFile(dir + "/cut-at-end", joined({{2, 2}, example, cut}));
}

std::vector<char> rtcmBytes(int type, const std::vector<char>& data)
{
    RTCMShortFrame frame;
    frame.frameType = type;
    frame.dataLen = (int16_t)data.size();
    if (!data.empty()) memcpy(frame.data, data.data(), data.size());
    std::vector<char> out(RTCMShortFrame::HEAD_LEN + data.size());
    int pos = 0;
    frame.serialize2ShortFrame(out.data(), &pos);
    return out;
}

// Received correction-data frames, alone and back to back.
bool rtcmSeeds(const std::string& dir)
{
    std::vector<char> example = rtcmBytes(2, {(char)0xAA, (char)0xBB, (char)0xCC});
    return writeFile(dir + "/example", example) && writeFile(dir + "/empty", rtcmBytes(1, {}))
        && writeFile(dir + "/largest", rtcmBytes(1, std::vector<char>(2048, 0x21)))
        && writeFile(dir + "/back-to-back", joined({example, rtcmBytes(1, {1}), {0x00}, example}));
}

// Received light lists: a phase without states, an id sent twice.
bool tlListSeeds(const std::string& dir)
{
    auto w = LMMessageWriter::writeTLList;
    std::vector<LMTrafficLightExtend> sample = SampleSignal::lights();
    LMTrafficLightExtend bare;
    bare.id = 1;
    bare.phases[2].phaseID = 2;
    return writeListSeed(dir, "empty", {}, w) && writeListSeed(dir, "sample", sample, w)
        && writeListSeed(dir, "repeated-id", {bare, sample[0], bare}, w);
}

// Received RSI lists.
bool rsiListSeeds(const std::string& dir)
{
    auto w = LMMessageWriter::writeRSIList;
    std::vector<LMRSIExtend> sample = SampleSignal::rsiRecords();
    LMRSIExtend bare;
    LMRSIExtend longText = sample[0];
    memset(longText.text, 't', 255);
    return writeListSeed(dir, "empty", {}, w) && writeListSeed(dir, "bare", {bare}, w)
        && writeListSeed(dir, "sample", sample, w) && writeListSeed(dir, "long-text", {longText, bare}, w);
}

const std::pair<const char*, bool (*)(const std::string&)> KINDS[] = {
    {"nodelist", nodeListSeeds}, {"tllist", tlListSeeds}, {"rsilist", rsiListSeeds},
    {"framestream", frameStreamSeeds}, {"rtcm", rtcmSeeds}};

}  // namespace

int main(int argc, char** argv)
{
    for (const auto& kind : KINDS) {
        if (argc == 3 && strcmp(argv[1], kind.first) == 0) {
            return kind.second(argv[2]) ? 0 : 1;
        }
    }
    fprintf(stderr, "usage: fuzz_seeds KIND DIR\n");
    return 2;
}
