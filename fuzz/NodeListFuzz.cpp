// Feeds arbitrary bytes to the checked node list decoder, as a map message
// from the air would arrive, and checks the decoder's promises
// (FuzzPromises.h); every node it keeps is under its own id and survives its
// trip through the shared-memory image.

#include <cstring>

#include "FuzzPromises.h"
#include "localmap/LMNodeListMng.h"

const char* const FUZZ_TARGET = "fuzz_nodelist";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The owner's segment lives in the fuzzer's private IPC namespace
    // (scripts/fuzz.sh); only the local map is used here.
    static LMNodeListMng mng(true);
    // A map in use before each message: a refused one must leave it alone.
    static const LMNodeExtend marker = [] {
        LMNodeExtend node;
        node.nodeId = -7;
        memcpy(node.name, "in use", 6);
        node.links[3].upstreamNodeId = 3;
        return node;
    }();
    static const std::vector<char> markerImage = flatOf(marker);

    if (size > 1 << 20) {
        return 0;
    }
    mng.nodes.clear();
    mng.nodes[-7] = marker;
    requireDecoderPromises(
        data, size, [](const char* buf, int pos, int len) { return LMMessageCheck::checkNodeList(buf, pos, len); },
        [](const char* buf, int* pos, int len) { return LMMessageCheck::DeSerializeChecked(&mng, buf, pos, len); },
        [] { return mng.nodes.size() == 1 && mng.nodes.begin()->first == -7 && flatOf(mng.nodes[-7]) == markerImage; });
    for (const auto& entry : mng.nodes) {
        require(entry.first == entry.second.nodeId, "a node is kept under its own id");
        requireRoundTrip(entry.second);
    }
    return 0;
}
