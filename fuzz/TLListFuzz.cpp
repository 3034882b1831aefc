// Feeds arbitrary bytes to the checked light list decoder, as a signal
// message from the air would arrive. The input lies in a heap block of its
// exact size, so the address sanitizer reports any read outside buf[0, size).
// Each run also checks the decoder's promises and aborts when one fails:
// refused, the code agrees with the walk and the lights in use are as they
// were; accepted, the bytes consumed equal the walk's span, one byte less is
// truncated, and every light survives its trip through the segment image.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "localmap/LMSignalCheck.h"
#include "localmap/LMTLListMng.h"

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_tllist: broken promise: %s\n", what);
        abort();
    }
}

std::vector<char> flatOf(const LMTrafficLightExtend& light)
{
    std::vector<char> bytes(light.flatSize());
    int pos = 0;
    require(light.Obj2Buff(bytes.data(), &pos) == (int)bytes.size(), "a light flattens to its size");
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static LMTLListMng mng(true);  // in the fuzzer's private IPC namespace
    static LMTrafficLightExtend marker = [] {
        LMTrafficLightExtend light;
        light.id = -7;
        light.phases[3].phaseID = 3;
        return light;
    }();
    static const std::vector<char> markerImage = flatOf(marker);

    if (size > 1 << 20) {
        return 0;
    }
    const char* buf = reinterpret_cast<const char*>(data);
    int len = (int)size;
    mng.lights.clear();
    mng.lights[-7] = marker;

    int span = LMSignalCheck::checkTLList(buf, 0, len);
    int pos = 0;
    int result = LMSignalCheck::DeSerializeChecked(&mng, buf, &pos, len);
    require(result == span, "the decoder returns what the walk found");
    if (result < 0) {
        require(pos == 0, "a refused message leaves the cursor");
        require(mng.lights.size() == 1 && flatOf(mng.lights.begin()->second) == markerImage,
                "a refused message leaves the lights");
        return 0;
    }
    require(pos == span && span <= len, "the cursor moves by the bytes consumed");
    require(LMSignalCheck::checkTLList(buf, 0, span - 1) == LMSignalCheck::TRUNCATED, "one byte less is truncated");
    for (const auto& entry : mng.lights) {
        require(entry.first == entry.second.id, "a light is kept under its own id");
        std::vector<char> image = flatOf(entry.second);
        LMTrafficLightExtend back;
        int at = 0;
        require(back.buffer2Obj(image.data(), &at, (int)image.size()) == (int)image.size(), "a light reads back");
        require(flatOf(back) == image, "a light reads back unchanged");
    }
    return 0;
}
