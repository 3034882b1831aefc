// Feeds arbitrary bytes to the checked RSI list decoder, as road-side
// information from the air would arrive (see TLListFuzz.cpp for the
// promises checked): refused input leaves the records in use and the cursor;
// accepted input spans exactly what the walk found, and every record
// survives its trip through the segment image.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "localmap/LMRSIListMng.h"
#include "localmap/LMSignalCheck.h"

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_rsilist: broken promise: %s\n", what);
        abort();
    }
}

std::vector<char> flatOf(const LMRSIExtend& rec)
{
    std::vector<char> bytes(rec.flatSize());
    int pos = 0;
    require(rec.Obj2Buff(bytes.data(), &pos) == (int)bytes.size(), "a record flattens to its size");
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static LMRSIListMng mng(true);  // in the fuzzer's private IPC namespace
    static LMRSIExtend marker = [] {
        LMRSIExtend rec;
        rec.infoID = 99;
        rec.points.resize(2);
        return rec;
    }();
    static const std::vector<char> markerImage = flatOf(marker);

    if (size > 1 << 20) {
        return 0;
    }
    const char* buf = reinterpret_cast<const char*>(data);
    int len = (int)size;
    mng.records.assign(1, marker);

    int span = LMSignalCheck::checkRSIList(buf, 0, len);
    int pos = 0;
    int result = LMSignalCheck::DeSerializeChecked(&mng, buf, &pos, len);
    require(result == span, "the decoder returns what the walk found");
    if (result < 0) {
        require(pos == 0, "a refused message leaves the cursor");
        require(mng.records.size() == 1 && flatOf(mng.records[0]) == markerImage,
                "a refused message leaves the records");
        return 0;
    }
    require(pos == span && span <= len, "the cursor moves by the bytes consumed");
    require(LMSignalCheck::checkRSIList(buf, 0, span - 1) == LMSignalCheck::TRUNCATED, "one byte less is truncated");
    for (const LMRSIExtend& rec : mng.records) {
        std::vector<char> image = flatOf(rec);
        LMRSIExtend back;
        int at = 0;
        require(back.buffer2Obj(image.data(), &at, (int)image.size()) == (int)image.size(), "a record reads back");
        require(flatOf(back) == image, "a record reads back unchanged");
    }
    return 0;
}
