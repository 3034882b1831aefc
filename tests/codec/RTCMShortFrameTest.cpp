// The correction-data short frame byte for byte, both readers' refusals, and
// the received-bytes reader on every truncation.
#include "codec/RTCMShortFrame.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

#include "support/ByteImage.h"

namespace {

const Bytes EXAMPLE = {0xFA, 0xFB, 0x02, 0x00, 0x03, 0xAA, 0xBB, 0xCC};

struct Read {
    int rc, pos;
    RTCMShortFrame frame;
};
// Reads from an exact-size heap copy; len < 0 uses the trusting reader.
Read read(const Bytes& bytes, int len)
{
    std::unique_ptr<char[]> copy(new char[bytes.size() + 1]);
    if (!bytes.empty()) memcpy(copy.get(), bytes.data(), bytes.size());
    Read r;
    r.frame.frameType = 77;
    r.frame.dataLen = 77;
    r.pos = 0;
    r.rc = len < 0 ? r.frame.deserializeFromShortFrame(copy.get(), &r.pos)
                   : r.frame.deserializeFromShortFrame(copy.get(), &r.pos, len);
    return r;
}

}  // namespace

TEST(RTCMShortFrame, GoldenBytes)
{
    RTCMShortFrame f;
    char buf[16];
    int pos = 2;
    ASSERT_EQ(f.serialize2ShortFrame(buf, &pos), 5);
    EXPECT_EQ(pos, 2);  // the caller moves the cursor
    EXPECT_EQ(bytesOf(buf + 2, 5), (Bytes{0xFA, 0xFB, 0x01, 0x00, 0x00}));
    f.frameType = 258;
    f.dataLen = 3;
    memcpy(f.data, "\xAA\xBB\xCC", 3);
    ASSERT_EQ(f.serialize2ShortFrame(buf, &pos), 8);
    EXPECT_EQ(bytesOf(buf + 2, 8), EXAMPLE);

    for (int len : {-1, 8, 100}) {
        Read r = read(EXAMPLE, len);
        ASSERT_EQ(r.rc, 1) << len;
        EXPECT_EQ(r.pos, 8);
        EXPECT_EQ(copyOf(r.frame.frameType), 2);
        EXPECT_EQ(copyOf(r.frame.dataLen), 3);
        EXPECT_EQ(bytesOf(r.frame.data, 3), (Bytes{0xAA, 0xBB, 0xCC}));
    }
}

TEST(RTCMShortFrame, RefusalsChangeNothing)
{
    struct {
        Bytes bytes;
        int len, rc;
    } cases[] = {
        {{0xFA, 0xFB, 0x03, 0x00, 0x00}, -1, -3},        // type neither 1 nor 2
        {{0xFA, 0xFB, 0x00, 0x00, 0x00}, 5, -3},
        {{0xFB, 0xFA, 0x01, 0x00, 0x00}, -1, -3},        // start bytes
        {{0xFA, 0xFB, 0x01, 0xFF, 0xFF}, -1, -3},        // negative length
        {{0xFA, 0xFB, 0x01, 0x08, 0x01}, -1, -3},        // 2049: beyond the data area
        {{0xFA, 0xFB, 0x01, 0x80, 0x00}, 5, -3},
    };
    for (const auto& c : cases) {
        Read r = read(c.bytes, c.len);
        EXPECT_EQ(r.rc, c.rc);
        EXPECT_EQ(r.pos, 0);
        EXPECT_EQ(copyOf(r.frame.frameType), 77);
        EXPECT_EQ(copyOf(r.frame.dataLen), 77);
    }
    for (int len = 0; len < (int)EXAMPLE.size(); ++len) {
        Read r = read(Bytes(EXAMPLE.begin(), EXAMPLE.begin() + len), len);
        EXPECT_EQ(r.rc, -4) << len;
        EXPECT_EQ(r.pos, 0);
        EXPECT_EQ(copyOf(r.frame.dataLen), 77);
    }
    RTCMShortFrame f;
    char buf[8];
    int pos = 0;
    EXPECT_EQ(f.deserializeFromShortFrame(buf, &pos, -1), -1);
    EXPECT_EQ(f.deserializeFromShortFrame(nullptr, &pos), -1);
    EXPECT_EQ(f.serialize2ShortFrame(buf, nullptr), -1);
    for (int16_t len : {-1, 2049}) {
        f.dataLen = len;
        EXPECT_EQ(f.serialize2ShortFrame(buf, &pos), -1);
    }
}
