// The correction-data short frame byte for byte and the refusals of both
// readers, the received-bytes one on every truncation.
#include "codec/RTCMShortFrame.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <tuple>

#include "support/ByteImage.h"

namespace {

const Bytes EXAMPLE = {0xFA, 0xFB, 0x02, 0x00, 0x03, 0xAA, 0xBB, 0xCC};

// Reads from an exact-size heap copy into a frame marked 77/77; len -1 uses
// the trusting reader. Returns the code, the cursor, type and length.
std::vector<int> read(const Bytes& bytes, int len)
{
    std::unique_ptr<char[]> copy(new char[bytes.size() + 1]);
    if (!bytes.empty()) memcpy(copy.get(), bytes.data(), bytes.size());
    RTCMShortFrame f;
    f.frameType = 77, f.dataLen = 77;
    int pos = 0;
    int rc = len == -1 ? f.deserializeFromShortFrame(copy.get(), &pos)
                       : f.deserializeFromShortFrame(copy.get(), &pos, len);
    EXPECT_TRUE(rc != 1 || bytesOf(f.data, 3) == Bytes(EXAMPLE.begin() + 5, EXAMPLE.end()));
    return {rc, pos, f.frameType, f.dataLen};
}

}  // namespace

TEST(RTCMShortFrame, GoldenBytesAndRefusalsThatChangeNothing)
{
    RTCMShortFrame f;
    char buf[16];
    int pos = 2;
    ASSERT_EQ(f.serialize2ShortFrame(buf, &pos), 5);
    EXPECT_EQ(pos, 2);  // the caller moves the cursor
    EXPECT_EQ(bytesOf(buf + 2, 5), (Bytes{0xFA, 0xFB, 0x01, 0x00, 0x00}));
    f.frameType = 258, f.dataLen = 3;
    memcpy(f.data, "\xAA\xBB\xCC", 3);
    ASSERT_EQ(f.serialize2ShortFrame(buf, &pos), 8);
    EXPECT_EQ(bytesOf(buf + 2, 8), EXAMPLE);
    for (int len : {-1, 8, 100}) {
        EXPECT_EQ(read(EXAMPLE, len), (std::vector<int>{1, 8, 2, 3})) << len;
    }
    for (int16_t len : {-1, 2049}) {
        f.dataLen = len;
        EXPECT_EQ(f.serialize2ShortFrame(buf, &pos), -1);
    }

    // Refused with the code given, the cursor and the frame untouched; every truncation too.
    std::vector<std::tuple<Bytes, int, int>> bad = {
        {{0xFA, 0xFB, 0x03, 0x00, 0x00}, -1, -3}, {{0xFA, 0xFB, 0x00, 0x00, 0x00}, 5, -3},  // type neither 1 nor 2
        {{0xFB, 0xFA, 0x01, 0x00, 0x00}, -1, -3},                                           // start bytes
        {{0xFA, 0xFB, 0x01, 0xFF, 0xFF}, -1, -3}, {{0xFA, 0xFB, 0x01, 0x80, 0x00}, 5, -3},  // negative length
        {{0xFA, 0xFB, 0x01, 0x08, 0x01}, -1, -3},                                           // 2049 > the data area
    };
    for (int n = 0; n < (int)EXAMPLE.size(); ++n) bad.emplace_back(Bytes(EXAMPLE.begin(), EXAMPLE.begin() + n), n, -4);
    for (const auto& [bytes, len, code] : bad) {
        EXPECT_EQ(read(bytes, len), (std::vector<int>{code, 0, 77, 77})) << len;
    }
    EXPECT_EQ(read(EXAMPLE, -2)[0], -1);  // a negative len given to the received-bytes reader
}
