// Feeds arbitrary bytes to the checked light list decoder, as a signal
// message from the air would arrive, and checks the decoder's promises
// (FuzzPromises.h); every light it keeps is under its own id and survives
// its trip through the segment image.

#include "FuzzPromises.h"
#include "localmap/LMSignalCheck.h"
#include "localmap/LMTLListMng.h"

const char* const FUZZ_TARGET = "fuzz_tllist";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static LMTLListMng mng(true);  // in the fuzzer's private IPC namespace
    static const LMTrafficLightExtend marker = [] {
        LMTrafficLightExtend light;
        light.id = -7;
        light.phases[3].phaseID = 3;
        return light;
    }();
    static const std::vector<char> markerImage = flatOf(marker);

    if (size > 1 << 20) {
        return 0;
    }
    mng.lights.clear();
    mng.lights[-7] = marker;
    requireDecoderPromises(
        data, size, [](const char* buf, int pos, int len) { return LMSignalCheck::checkTLList(buf, pos, len); },
        [](const char* buf, int* pos, int len) { return LMSignalCheck::DeSerializeChecked(&mng, buf, pos, len); },
        [] { return mng.lights.size() == 1 && flatOf(mng.lights.begin()->second) == markerImage; });
    for (const auto& entry : mng.lights) {
        require(entry.first == entry.second.id, "a light is kept under its own id");
        requireRoundTrip(entry.second);
    }
    return 0;
}
