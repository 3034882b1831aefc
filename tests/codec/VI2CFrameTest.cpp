// The framed message byte for byte, its refusals, and the stream reader fed
// in pieces of every size.
#include "codec/VI2CFrame.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "codec/VI2CFrameStream.h"
#include "support/ByteImage.h"

namespace {

const Bytes EXAMPLE = {0xFA, 0xFB, 0x01, 0x02, 0x00, 0x02, 0x10, 0x20, 0x31};

Bytes imageOf(const VI2CFrame& f)
{
    Bytes out(VI2CFrame::MAX_LEN + 1, 0xEE);
    int pos = 0;
    int len = f.buildFrame((char*)out.data(), &pos);
    EXPECT_EQ(out[len < 0 ? 0 : len], 0xEE);  // nothing beyond the frame
    out.resize(len < 0 ? 0 : len);
    return out;
}

Bytes build(uint8_t type, uint8_t sub, const Bytes& data)
{
    VI2CFrame f;
    f.frameType = type, f.frameSubType = sub, f.dataLen = (int16_t)data.size();
    if (!data.empty()) memcpy(f.data, data.data(), data.size());
    return imageOf(f);
}

// resolveFrame on an exact-size heap copy of the first len bytes, so
// that a read past the end faults under the sanitizers. A refusal must leave
// the cursor and the data area alone.
int resolve(const Bytes& bytes, int len, VI2CFrame* f)
{
    std::unique_ptr<char[]> copy(new char[len > 0 ? len : 1]);
    if (len > 0) memcpy(copy.get(), bytes.data(), (size_t)len);
    memset(f->data, 0x5A, sizeof f->data);
    int cursor = 0;
    int rc = f->resolveFrame(copy.get(), &cursor, len);
    EXPECT_TRUE(rc > 0 || (cursor == 0 && Bytes(f->data, f->data + 2048) == Bytes(2048, 0x5A))) << rc;
    return rc;
}

}  // namespace

TEST(VI2CFrame, GoldenBytesAndRefusedLengthsOnBuild)
{
    EXPECT_EQ(build(1, 2, {0x10, 0x20}), EXAMPLE);
    EXPECT_EQ(build(0, 0, {}), (Bytes{0xFA, 0xFB, 0, 0, 0, 0, 0}));
    Bytes full = build(0xFF, 0x80, Bytes(2048, 0x01));
    EXPECT_EQ(Bytes(full.begin(), full.begin() + 6), (Bytes{0xFA, 0xFB, 0xFF, 0x80, 0x08, 0x00}));
    EXPECT_EQ(full.back(), 0xFF ^ 0x80 ^ 0x08);  // 2048 ones cancel out
    VI2CFrame f;
    for (int16_t len : {-1, 2049}) {
        f.dataLen = len;
        EXPECT_EQ(imageOf(f), Bytes()) << len;  // -1, nothing written
    }
}

TEST(VI2CFrame, EverySingleByteChangeTruncationAndLengthOutsideTheDataIsRefused)
{
    VI2CFrame f;
    for (size_t i = 0; i < EXAMPLE.size(); ++i) {
        for (int v = 0; v < 256; ++v) {
            Bytes bad = EXAMPLE;
            bad[i] = (uint8_t)v;
            if (v == EXAMPLE[i]) continue;
            ASSERT_EQ(resolve(bad, (int)bad.size(), &f), i < 2 ? -2 : -3) << i << " = " << v;
        }
    }
    for (int len = 0; len < (int)EXAMPLE.size(); ++len) {
        EXPECT_EQ(resolve(EXAMPLE, len, &f), len < 7 ? -1 : -3) << len;
    }
    // The header is read before the frame is judged.
    EXPECT_EQ(f.frameType + f.frameSubType * 10 + f.dataLen * 100, 1 + 20 + 200);

    // Received lengths outside the data area are corrupt.
    Bytes big(6 + 2049 + 1, 0);  // 2049 data bytes, check byte right
    big[0] = 0xFA, big[1] = 0xFB, big[4] = 0x08, big[5] = 0x01, big.back() = 0x08 ^ 0x01;
    // Each passes the check byte as a reader without the length guard sees it.
    const Bytes forged[] = {
        {0xFA, 0xFB, 0x00, 0x00, 0xFF, 0xFF, 0x00},  // -1: XOR(00 00 FF) equals the byte at 5
        {0xFA, 0xFB, 0x00, 0x07, 0xFF, 0xFC, 0x00},  // -4: the empty XOR equals the type byte
        big};
    for (const Bytes& bytes : forged) {
        EXPECT_EQ(resolve(bytes, (int)bytes.size(), &f), -3);
    }
}

// Stray bytes, a frame inside a corrupt frame's data, an announced length beyond
// the data area, a lone start byte, and a frame cut short at the end whose
// bytes hide one more frame. Every frame comes out with its last byte.
TEST(VI2CFrameStream, PiecesOfAnySizeGiveEveryWholeFrameAsItsLastByteArrives)
{
    Bytes inner = build(3, 3, {0xFA, 0xFB});
    Bytes corrupt = build(4, 0, inner);
    corrupt.back() ^= 0x01;
    Bytes tail = {0xFA, 0xFB, 0x05, 0x05, 0x00, 0x30};
    Bytes tailFrame = build(6, 6, {}), long300 = build(7, 1, Bytes(300, 0x42));
    Bytes stream;
    for (const Bytes& p : {Bytes{0x00, 0xFB, 0xFA}, EXAMPLE, corrupt, Bytes{0xFA, 0xFB, 0, 0, 0x7F, 0xFF, 0x01},
                           Bytes{0xFA}, long300, tail, tailFrame}) {
        stream.insert(stream.end(), p.begin(), p.end());
    }
    // After stray bytes, the frame inside the corrupt one, and the frame the cut one hides.
    const std::vector<Bytes> expected = {EXAMPLE, inner, long300, tailFrame};

    for (size_t piece = 1; piece <= stream.size(); ++piece) {
        VI2CFrameStream s;
        VI2CFrame f;
        std::vector<Bytes> got;
        for (size_t at = 0; at < stream.size(); at += piece) {
            size_t n = std::min(piece, stream.size() - at);
            ASSERT_EQ(s.feed((const char*)stream.data() + at, (int)n), 1);
            while (s.nextFrame(&f) == 1) got.push_back(imageOf(f));
            // A frame whose last byte has arrived is out.
            size_t outBy = at + n;
            size_t due = outBy >= 343 ? 3 : outBy >= 28 ? 2 : outBy >= 12 ? 1 : 0;
            ASSERT_EQ(got.size(), due) << "pieces of " << piece << ", after byte " << outBy;
        }
        EXPECT_EQ(s.pendingBytes(), (int)(tail.size() + tailFrame.size()));
        s.endOfInput();
        while (s.nextFrame(&f) == 1) got.push_back(imageOf(f));
        EXPECT_EQ(got, expected) << "pieces of " << piece;
        EXPECT_EQ(s.pendingBytes(), 0);
        EXPECT_EQ(s.feed("x", 1), -1);
    }
}
