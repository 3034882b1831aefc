// Writes the seed corpus of one fuzz target into a directory: well-formed
// messages from the message writers, small and large, for the fuzzer to
// mutate from.
//
//   fuzz_seeds KIND DIR      KIND: the target's name after fuzz_

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "LMMessageWriter.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"

namespace {

bool writeFile(const std::string& path, const std::vector<char>& bytes)
{
    FILE* out = fopen(path.c_str(), "wb");
    if (out == nullptr) {
        perror(path.c_str());
        return false;
    }
    bool ok = fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    return fclose(out) == 0 && ok;
}

bool writeSeed(const std::string& dir, const char* name, const std::vector<LMNodeExtend>& nodes)
{
    std::vector<char> bytes;
    if (LMMessageWriter::writeNodeList(nodes, &bytes) < 0) {
        fprintf(stderr, "fuzz_seeds: the writer refused seed %s\n", name);
        return false;
    }
    return writeFile(dir + "/" + name, bytes);
}

// Received node lists.
bool nodeListSeeds(const std::string& dir)
{
    std::vector<LMNodeExtend> sample = SampleIntersection::nodes();

    // One node of everything, with names of the longest allowed length.
    LMNodeExtend full = sample[1];
    memset(full.name, 'n', sizeof full.name);
    for (auto& link : full.links) {
        memset(link.second.name, 'l', sizeof link.second.name);
    }
    LMNodeExtend bare;
    bare.nodeId = 1;
    LMNodeExtend oneLink = bare;
    oneLink.links[2].upstreamNodeId = 2;

    bool ok = writeSeed(dir, "empty", {}) && writeSeed(dir, "bare-node", {bare})
        && writeSeed(dir, "one-link", {oneLink}) && writeSeed(dir, "sample", sample)
        && writeSeed(dir, "centre-node", {sample[0]}) && writeSeed(dir, "long-names", {full})
        && writeSeed(dir, "repeated-id", {bare, oneLink, bare});
    return ok;
}

template <typename Record>
bool writeListSeed(const std::string& dir, const char* name, const std::vector<Record>& records,
                   int (*write)(const std::vector<Record>&, std::vector<char>*))
{
    std::vector<char> bytes;
    if (write(records, &bytes) < 0) {
        fprintf(stderr, "fuzz_seeds: the writer refused seed %s\n", name);
        return false;
    }
    return writeFile(dir + "/" + name, bytes);
}

// Received light lists.
bool tlListSeeds(const std::string& dir)
{
    auto w = LMMessageWriter::writeTLList;
    std::vector<LMTrafficLightExtend> sample = SampleSignal::lights();
    LMTrafficLightExtend bare;
    bare.id = 1;
    LMTrafficLightExtend emptyPhase = bare;
    emptyPhase.phases[2].phaseID = 2;
    return writeListSeed(dir, "empty", {}, w) && writeListSeed(dir, "bare-light", {bare}, w)
        && writeListSeed(dir, "empty-phase", {emptyPhase}, w) && writeListSeed(dir, "sample", sample, w)
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

struct SeedKind {
    const char* name;
    bool (*write)(const std::string& dir);
};

const SeedKind KINDS[] = {
    {"nodelist", nodeListSeeds},
    {"tllist", tlListSeeds},
    {"rsilist", rsiListSeeds},
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3) {
        for (const SeedKind& kind : KINDS) {
            if (strcmp(argv[1], kind.name) == 0) {
                return kind.write(argv[2]) ? 0 : 1;
            }
        }
    }
    fprintf(stderr, "usage: fuzz_seeds KIND DIR\n");
    return 2;
}
