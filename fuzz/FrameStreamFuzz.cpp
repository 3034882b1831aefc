// Feeds arbitrary bytes to the frame stream reader in arbitrary pieces, as a
// serial line or a socket delivers them. The first two bytes choose the
// piece sizes; the rest is the stream. Each piece lies in a heap block of its
// exact size, so the address sanitizer reports any read outside it. Beyond
// the sanitizers, each run checks the reader's promises and aborts when one
// fails:
// - the frames handed out, in order, are exactly those of one resolveFrame
//   walk over the whole stream that moves one byte on after each failure;
// - while waiting for more bytes it holds less than one largest frame.

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "FuzzPromises.h"
#include "codec/VI2CFrame.h"
#include "codec/VI2CFrameStream.h"

const char* const FUZZ_TARGET = "fuzz_framestream";

namespace {

using Image = std::vector<char>;

Image imageOf(const VI2CFrame& f)
{
    Image out(VI2CFrame::MAX_LEN);
    int pos = 0;
    out.resize((size_t)f.buildFrame(out.data(), &pos));
    return out;
}

std::vector<Image> walk(const char* stream, int n)
{
    std::vector<Image> found;
    for (int pos = 0; pos < n;) {
        VI2CFrame f;
        int start = pos;
        if (f.resolveFrame(stream, &pos, n - pos) > 0) {
            found.emplace_back(stream + start, stream + pos);
        } else {
            pos = start + 1;
        }
    }
    return found;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2 || size > 1 << 16) {
        return 0;
    }
    uint32_t state = (uint32_t)data[0] << 8 | data[1];
    int maxPiece = 1 + data[0] % 64;
    const char* stream = reinterpret_cast<const char*>(data + 2);
    int n = (int)size - 2;
    std::vector<Image> expected = walk(stream, n);

    VI2CFrameStream reader;
    VI2CFrame frame;
    std::vector<Image> got;
    for (int at = 0; at < n;) {
        state = state * 1103515245u + 12345u;
        int piece = 1 + (int)((state >> 16) % (uint32_t)maxPiece);
        if (piece > n - at) piece = n - at;
        std::unique_ptr<char[]> copy(new char[piece]);
        memcpy(copy.get(), stream + at, (size_t)piece);
        require(reader.feed(copy.get(), piece) == 1, "bytes are taken");
        at += piece;
        while (reader.nextFrame(&frame) == 1) got.push_back(imageOf(frame));
        require(reader.pendingBytes() < VI2CFrame::MAX_LEN, "less than one largest frame is held");
    }
    reader.endOfInput();
    while (reader.nextFrame(&frame) == 1) got.push_back(imageOf(frame));
    require(reader.pendingBytes() == 0, "nothing is held after the end of input");
    require(got == expected, "the reader hands out the frames of one walk");
    return 0;
}
