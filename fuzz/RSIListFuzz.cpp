// Feeds arbitrary bytes to the checked RSI list decoder, as road-side
// information from the air would arrive, and checks the decoder's promises
// (FuzzPromises.h); every record it keeps survives its trip through the
// segment image.

#include "FuzzPromises.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMSignalCheck.h"

const char* const FUZZ_TARGET = "fuzz_rsilist";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static LMRSIListMng mng(true);  // in the fuzzer's private IPC namespace
    static const LMRSIExtend marker = [] {
        LMRSIExtend rec;
        rec.infoID = 99;
        rec.points.resize(2);
        return rec;
    }();
    static const std::vector<char> markerImage = flatOf(marker);

    if (size > 1 << 20) {
        return 0;
    }
    mng.records.assign(1, marker);
    requireDecoderPromises(
        data, size, [](const char* buf, int pos, int len) { return LMSignalCheck::checkRSIList(buf, pos, len); },
        [](const char* buf, int* pos, int len) { return LMSignalCheck::DeSerializeChecked(&mng, buf, pos, len); },
        [] { return mng.records.size() == 1 && flatOf(mng.records[0]) == markerImage; });
    for (const LMRSIExtend& rec : mng.records) {
        requireRoundTrip(rec);
    }
    return 0;
}
