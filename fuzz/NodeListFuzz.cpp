// Feeds arbitrary bytes to the checked node list decoder, as a map message
// from the air would arrive. The input lies in a heap block of its exact size,
// so the address sanitizer reports any read outside buf[0, size). Beyond the
// sanitizers, each run checks the decoder's promises and aborts when one fails:
// - refused: the code agrees with the walk, the cursor and the map are as
//   they were;
// - accepted: the bytes consumed equal the bytes the walk spans, the message
//   is whole at exactly that length and at no shorter one, and every decoded
//   node survives its trip through the shared-memory image unchanged.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

#include "localmap/LMMessageCheck.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMNodeListMng.h"

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_nodelist: broken promise: %s\n", what);
        abort();
    }
}

std::vector<char> flatOf(const LMNodeExtend& node)
{
    std::vector<char> bytes(node.flatSize());
    int pos = 0;
    require(node.Obj2Buff(bytes.data(), &pos) == (int)bytes.size(), "a decoded node flattens to its size");
    return bytes;
}

// A map in use before each message: a failed decode must leave it alone.
LMNodeExtend markerNode()
{
    LMNodeExtend node;
    node.nodeId = -7;
    memcpy(node.name, "in use", 6);
    node.links[3].upstreamNodeId = 3;
    return node;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The owner's segment lives in the fuzzer's private IPC namespace
    // (scripts/fuzz.sh); only the local map is used here.
    static LMNodeListMng mng(true);
    static const LMNodeExtend marker = markerNode();
    static const std::vector<char> markerImage = flatOf(marker);
    static const int64_t markerId = marker.nodeId;  // by value: the field is packed

    if (size > 1 << 20) {
        return 0;
    }
    const char* buf = reinterpret_cast<const char*>(data);
    int len = (int)size;
    mng.nodes.clear();
    mng.nodes[markerId] = marker;

    int span = LMMessageCheck::checkNodeList(buf, 0, len);
    int pos = 0;
    int result = LMMessageCheck::DeSerializeChecked(&mng, buf, &pos, len);
    require(result == span, "the decoder returns what the walk found");

    if (result < 0) {
        require(pos == 0, "a refused message leaves the cursor");
        require(mng.nodes.size() == 1 && mng.nodes.begin()->first == markerId
                    && flatOf(mng.nodes.begin()->second) == markerImage,
                "a refused message leaves the map");
        return 0;
    }
    require(pos == span && span <= len, "the cursor moves by the bytes consumed");
    require(LMMessageCheck::checkNodeList(buf, 0, span) == span, "the message is whole at its own length");
    require(LMMessageCheck::checkNodeList(buf, 0, span - 1) == LMMessageCheck::TRUNCATED,
            "one byte less is truncated");
    for (const auto& entry : mng.nodes) {
        require(entry.first == entry.second.nodeId, "a node is kept under its own id");
        std::vector<char> image = flatOf(entry.second);
        LMNodeExtend back;
        int at = 0;
        require(back.buffer2Obj(image.data(), &at, (int)image.size()) == (int)image.size(),
                "a node reads back from its image");
        require(flatOf(back) == image, "a node reads back unchanged");
    }
    return 0;
}
