// Feeds arbitrary bytes to the frame stream reader in arbitrary pieces, as a
// serial line or a socket delivers them. The first two bytes choose the
// piece sizes; the rest is the stream. Each piece lies in a heap block of its
// exact size, so the address sanitizer reports any read outside it. Beyond
// the sanitizers, each run checks the reader's promises and aborts when one
// fails:
// - the frames handed out, in order, are exactly those of one resolveFrame
//   walk over the whole stream that moves one byte on after each failure;
// - while waiting for more bytes it holds less than one largest frame;
// - every frame handed out reads back from its own image unchanged.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "codec/VI2CFrame.h"
#include "codec/VI2CFrameStream.h"

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_framestream: broken promise: %s\n", what);
        abort();
    }
}

using Image = std::vector<char>;

Image imageOf(const VI2CFrame& f)
{
    Image out(VI2CFrame::MAX_LEN);
    int pos = 0;
    int len = f.buildFrame(out.data(), &pos);
    require(len == f.dataLen + VI2CFrame::MIN_LEN && pos == len, "a frame handed out builds to its length");
    out.resize((size_t)len);
    return out;
}

std::vector<Image> walk(const char* stream, int n)
{
    std::vector<Image> found;
    int pos = 0;
    while (pos < n) {
        VI2CFrame f;
        int start = pos;
        int rc = f.resolveFrame(stream, &pos, n - pos);
        if (rc > 0) {
            require(pos == start + rc && pos <= n, "the cursor moves by the frame's length");
            found.emplace_back(stream + start, stream + pos);
        } else {
            require(pos == start, "a refused frame leaves the cursor");
            ++pos;
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
        while (reader.nextFrame(&frame) == 1) {
            got.push_back(imageOf(frame));
        }
        require(reader.pendingBytes() < VI2CFrame::MAX_LEN, "less than one largest frame is held");
    }
    reader.endOfInput();
    while (reader.nextFrame(&frame) == 1) {
        got.push_back(imageOf(frame));
    }
    require(reader.pendingBytes() == 0, "nothing is held after the end of input");
    require(got == expected, "the reader hands out the frames of one walk");
    for (const Image& image : got) {
        VI2CFrame back;
        int pos = 0;
        require(back.resolveFrame(image.data(), &pos, (int)image.size()) == (int)image.size(), "a frame reads back");
        require(imageOf(back) == image, "a frame reads back unchanged");
    }
    return 0;
}
