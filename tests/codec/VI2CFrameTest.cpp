// The framed message byte for byte, its refusals, and the stream reader
// against one resolveFrame walk over the whole stream.
#include "codec/VI2CFrame.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "codec/VI2CFrameStream.h"
#include "support/ByteImage.h"

namespace {

const Bytes EXAMPLE = {0xFA, 0xFB, 0x01, 0x02, 0x00, 0x02, 0x10, 0x20, 0x31};

Bytes build(uint8_t type, uint8_t sub, const Bytes& data)
{
    VI2CFrame f;
    f.frameType = type;
    f.frameSubType = sub;
    f.dataLen = (int16_t)data.size();
    if (!data.empty()) memcpy(f.data, data.data(), data.size());
    Bytes out(data.size() + 9, 0xEE);
    int pos = 1;
    EXPECT_EQ(f.buildFrame((char*)out.data(), &pos), (int)data.size() + 7);
    EXPECT_EQ(pos, (int)data.size() + 8);
    EXPECT_EQ(out.front(), 0xEE);
    EXPECT_EQ(out.back(), 0xEE);
    return Bytes(out.begin() + 1, out.end() - 1);
}

// resolveFrame on an exact-size heap copy of `bytes`, so that a read past
// the end faults under the sanitizers. The frame starts with data = 0x5A.
struct Resolved {
    int rc, pos;
    VI2CFrame frame;
};
Resolved resolve(const Bytes& bytes, int len, int at = 0)
{
    std::unique_ptr<char[]> copy(new char[len > 0 ? len : 1]);
    if (len > 0) memcpy(copy.get(), bytes.data(), (size_t)len);
    Resolved r;
    memset(r.frame.data, 0x5A, sizeof r.frame.data);
    r.pos = at;
    r.rc = r.frame.resolveFrame(copy.get(), &r.pos, len - at);
    return r;
}

bool dataUntouched(const VI2CFrame& f)
{
    for (char c : f.data) {
        if (c != 0x5A) return false;
    }
    return true;
}

// The frames a single walk over the whole stream finds, moving one byte on
// after every failure.
std::vector<Bytes> walk(const Bytes& stream)
{
    std::vector<Bytes> found;
    int pos = 0;
    while (pos < (int)stream.size()) {
        VI2CFrame f;
        int start = pos;
        if (f.resolveFrame((const char*)stream.data(), &pos, (int)stream.size() - pos) > 0) {
            found.emplace_back(stream.begin() + start, stream.begin() + pos);
        } else {
            ++pos;
        }
    }
    return found;
}

Bytes imageOf(const VI2CFrame& f)
{
    Bytes out(f.dataLen + 7);
    int pos = 0;
    f.buildFrame((char*)out.data(), &pos);
    return out;
}

}  // namespace

TEST(VI2CFrame, GoldenBytes)
{
    EXPECT_EQ(build(1, 2, {0x10, 0x20}), EXAMPLE);
    EXPECT_EQ(build(0, 0, {}), (Bytes{0xFA, 0xFB, 0, 0, 0, 0, 0}));
    Bytes full = build(0xFF, 0x80, Bytes(2048, 0x01));
    EXPECT_EQ(Bytes(full.begin(), full.begin() + 6), (Bytes{0xFA, 0xFB, 0xFF, 0x80, 0x08, 0x00}));
    EXPECT_EQ(full.back(), 0xFF ^ 0x80 ^ 0x08);  // 2048 ones cancel out
    Resolved r = resolve(full, (int)full.size());
    EXPECT_EQ(r.rc, 2055);
    EXPECT_EQ(imageOf(r.frame), full);
}

TEST(VI2CFrame, BuildRefusesWhatTheDataAreaCannotHold)
{
    VI2CFrame f;
    char buf[16];
    memset(buf, 0x77, sizeof buf);
    int pos = 0, negative = -1;
    for (int16_t len : {-1, -32768, 2049, 32767}) {
        f.dataLen = len;
        EXPECT_EQ(f.buildFrame(buf, &pos), -1) << len;
    }
    f.dataLen = 0;
    EXPECT_EQ(f.buildFrame(nullptr, &pos), -1);
    EXPECT_EQ(f.buildFrame(buf, nullptr), -1);
    EXPECT_EQ(f.buildFrame(buf, &negative), -1);
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(bytesOf(buf, sizeof buf), Bytes(sizeof buf, 0x77));
}

TEST(VI2CFrame, EverySingleByteChangeIsRefused)
{
    for (size_t i = 0; i < EXAMPLE.size(); ++i) {
        for (int v = 0; v < 256; ++v) {
            if (v == EXAMPLE[i]) continue;
            Bytes bad = EXAMPLE;
            bad[i] = (uint8_t)v;
            Resolved r = resolve(bad, (int)bad.size());
            ASSERT_EQ(r.rc, i < 2 ? -2 : -3) << "byte " << i << " = " << v;
            EXPECT_EQ(r.pos, 0);
            EXPECT_TRUE(dataUntouched(r.frame));
        }
    }
}

TEST(VI2CFrame, EveryTruncationIsRefusedWithoutReadingPastTheEnd)
{
    for (int len = 0; len < (int)EXAMPLE.size(); ++len) {
        Resolved r = resolve(EXAMPLE, len);
        EXPECT_EQ(r.rc, len < 7 ? -1 : -3) << len;
        EXPECT_EQ(r.pos, 0);
        EXPECT_TRUE(dataUntouched(r.frame));
        if (len >= 7) {  // the header is read before the frame is judged
            EXPECT_EQ(r.frame.frameType, 1);
            EXPECT_EQ(r.frame.frameSubType, 2);
            EXPECT_EQ(r.frame.dataLen, 2);
        }
    }
}

TEST(VI2CFrame, ReceivedLengthsOutsideTheDataAreaAreCorrupt)
{
    // Each passes the check byte as an unguarded reader computes it.
    const Bytes forged[] = {
        {0xFA, 0xFB, 0x00, 0x00, 0xFF, 0xFF, 0x00},  // -1: XOR(00 00 FF) equals the byte at 5
        {0xFA, 0xFB, 0x00, 0x07, 0xFF, 0xFC, 0x00},  // -4: empty XOR equals the type byte
    };
    for (const Bytes& f : forged) {
        Resolved r = resolve(f, (int)f.size());
        EXPECT_EQ(r.rc, -3);
        EXPECT_TRUE(dataUntouched(r.frame));
    }
    Bytes big = {0xFA, 0xFB, 0x00, 0x00, 0x08, 0x01};  // 2049 data bytes, check byte right
    big.resize(6 + 2049 + 1, 0);
    big.back() = 0x08 ^ 0x01;
    Resolved r = resolve(big, (int)big.size());
    EXPECT_EQ(r.rc, -3);
    EXPECT_TRUE(dataUntouched(r.frame));
}

TEST(VI2CFrame, StrayByteAndFramesBackToBack)
{
    Bytes stream = {0x00};
    stream.insert(stream.end(), EXAMPLE.begin(), EXAMPLE.end());
    Bytes second = build(9, 8, {0xAB});
    stream.insert(stream.end(), second.begin(), second.end());
    EXPECT_EQ(resolve(stream, (int)stream.size(), 0).rc, -2);
    Resolved r = resolve(stream, (int)stream.size(), 1);
    EXPECT_EQ(r.rc, 9);
    EXPECT_EQ(imageOf(r.frame), EXAMPLE);
    int pos = r.pos;
    EXPECT_EQ(r.frame.resolveFrame((const char*)stream.data(), &pos, (int)stream.size() - pos), 8);
    EXPECT_EQ(pos, (int)stream.size());
    EXPECT_EQ(imageOf(r.frame), second);
}

TEST(VI2CFrame, CheckByteOverARange)
{
    const char bytes[] = {0x01, 0x02, 0x00, 0x02, 0x10, 0x20};
    uint8_t x = 0xEE;
    EXPECT_EQ(VI2CFrame::calcCRC(bytes, 0, 6, &x), 1);
    EXPECT_EQ(x, 0x31);
    EXPECT_EQ(VI2CFrame::calcCRC(bytes, 3, 0, &x), 1);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(VI2CFrame::calcCRC(bytes, -1, 1, &x), -1);
    EXPECT_EQ(VI2CFrame::calcCRC(bytes, 0, -1, &x), -1);
    EXPECT_EQ(VI2CFrame::calcCRC(nullptr, 0, 1, &x), -1);
}

// Garbage, a frame inside a corrupt frame's data, an announced length beyond
// the data area, a frame right after a lone start byte, and a frame cut short
// at the end whose bytes hide one more frame.
TEST(VI2CFrameStream, PiecesOfAnySizeGiveTheFramesOfOneWalk)
{
    Bytes inner = build(3, 3, {0xFA, 0xFB});
    Bytes corrupt = build(4, 0, inner);
    corrupt.back() ^= 0x01;
    Bytes tail = {0xFA, 0xFB, 0x05, 0x05, 0x00, 0x30};
    Bytes tailFrame = build(6, 6, {});
    std::vector<Bytes> parts = {{0x00, 0xFB, 0xFA}, EXAMPLE, corrupt, {0xFA, 0xFB, 0, 0, 0x7F, 0xFF, 0x01},
                                {0xFA}, build(7, 1, Bytes(300, 0x42)), tail, tailFrame};
    Bytes stream;
    for (const Bytes& p : parts) stream.insert(stream.end(), p.begin(), p.end());
    std::vector<Bytes> expected = walk(stream);
    ASSERT_EQ(expected.size(), 4u);  // EXAMPLE, inner, the 300-byte frame, tailFrame

    for (size_t piece = 1; piece <= stream.size(); ++piece) {
        VI2CFrameStream s;
        VI2CFrame f;
        std::vector<Bytes> got;
        for (size_t at = 0; at < stream.size(); at += piece) {
            size_t n = std::min(piece, stream.size() - at);
            ASSERT_EQ(s.feed((const char*)stream.data() + at, (int)n), 1);
            while (s.nextFrame(&f) == 1) got.push_back(imageOf(f));
        }
        // Held back: the frame announced by `tail` has not all arrived.
        ASSERT_EQ(got.size(), 3u) << piece;
        EXPECT_EQ(s.pendingBytes(), (int)(tail.size() + tailFrame.size()));
        s.endOfInput();
        while (s.nextFrame(&f) == 1) got.push_back(imageOf(f));
        EXPECT_EQ(got, expected) << "pieces of " << piece;
        EXPECT_EQ(s.pendingBytes(), 0);
        EXPECT_EQ(s.feed("x", 1), -1);
    }
}

TEST(VI2CFrameStream, AFrameIsHandedOutWithItsLastByte)
{
    VI2CFrameStream s;
    VI2CFrame f;
    for (int round = 0; round < 3; ++round) {
        for (size_t i = 0; i < EXAMPLE.size(); ++i) {
            ASSERT_EQ(s.feed((const char*)&EXAMPLE[i], 1), 1);
            EXPECT_EQ(s.nextFrame(&f), i + 1 == EXAMPLE.size() ? 1 : 0) << i;
        }
    }
    EXPECT_EQ(s.skippedBytes(), 0u);
    EXPECT_EQ(s.feed(nullptr, 1), -1);
    EXPECT_EQ(s.nextFrame(nullptr), -1);
}
