// Writes the seed corpus of fuzz_nodelist into a directory: well-formed node
// lists from the map message writer, small and large, for the fuzzer to
// mutate from.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "LMMessageWriter.h"
#include "SampleIntersection.h"

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

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: fuzz_seeds DIR\n");
        return 2;
    }
    std::string dir = argv[1];
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
    return ok ? 0 : 1;
}
