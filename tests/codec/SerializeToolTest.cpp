#include "codec/SerializeTool.h"

#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

#include "support/ByteImage.h"

namespace {

using S = SerializeTool;
constexpr int START = 3;  // odd on purpose: the wire has no alignment

// Writes value at START of a sentinel-filled buffer and reads it back: both
// cursors must move by the width, the bits come back unchanged and nothing
// outside the field is touched. Returns the bytes written.
template <typename T>
Bytes roundTrip(T value, int (*write)(char*, int*, T), int (*read)(const char*, int*, T*))
{
    char buf[16];
    memset(buf, 0xA5, sizeof buf);
    int wc = START, rc = START;
    T back;
    EXPECT_EQ(write(buf, &wc, value), (int)sizeof(T));
    EXPECT_EQ(read(buf, &rc, &back), (int)sizeof(T));
    EXPECT_EQ(wc, START + (int)sizeof(T));
    EXPECT_EQ(rc, wc);
    EXPECT_EQ(memcmp(&back, &value, sizeof(T)), 0) << "value " << value;
    Bytes field = bytesOf(buf + START, sizeof(T));
    memset(buf + START, 0xA5, sizeof(T));
    EXPECT_EQ(bytesOf(buf, sizeof buf), Bytes(sizeof buf, 0xA5)) << "written outside the field";
    return field;
}

}  // namespace

// Numbers travel most significant byte first, and every value survives a
// round trip bit for bit.
TEST(SerializeTool, NumbersTravelMostSignificantByteFirstAndComeBackBitForBit)
{
    EXPECT_EQ(roundTrip<short>(-2, S::Short2Byte, S::Byte2Short), (Bytes{0xFF, 0xFE}));
    EXPECT_EQ(roundTrip<int>(16909060, S::Int2Byte, S::Byte2Int), (Bytes{0x01, 0x02, 0x03, 0x04}));
    EXPECT_EQ(roundTrip<long long>(0x0102030405060708LL, S::Long2Byte, S::Byte2Long),
              (Bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08}));
    EXPECT_EQ(roundTrip<float>(-2.5f, S::Float2Byte, S::Byte2Float), (Bytes{0xC0, 0x20, 0, 0}));
    EXPECT_EQ(roundTrip<double>(116.3912345, S::Double2Byte, S::Byte2Double),
              (Bytes{0x40, 0x5D, 0x19, 0x09, 0xFC, 0x6D, 0xA4, 0x48}));
    using F = std::numeric_limits<float>;
    using D = std::numeric_limits<double>;
    for (short v : {0, -1, SHRT_MIN, SHRT_MAX, 0x00FF, 0x7F80}) roundTrip<short>(v, S::Short2Byte, S::Byte2Short);
    for (int v : {0, -1, INT_MIN, INT_MAX, 0x000000FF, 0x7F808182}) roundTrip<int>(v, S::Int2Byte, S::Byte2Int);
    for (long long v : {0LL, LLONG_MIN, LLONG_MAX, 4311744512LL}) roundTrip<long long>(v, S::Long2Byte, S::Byte2Long);
    for (float v : {-1e-40f, F::max(), F::infinity(), F::quiet_NaN()}) roundTrip(v, S::Float2Byte, S::Byte2Float);
    for (double v : {4.9e-324, -D::max(), -D::infinity(), D::quiet_NaN()}) roundTrip(v, S::Double2Byte, S::Byte2Double);
}

TEST(SerializeTool, RawBytesAreCopiedAsGivenWithoutTerminator)
{
    const char src[] = {'a', 'b', '\0', 'X', 'Y', 'Z'};  // bytes after a terminator go too
    char buf[] = "########", dst[] = "########";
    int cursor = 1;
    EXPECT_EQ(S::String2Byte(buf, &cursor, 5, src) + S::String2Byte(buf, &cursor, 0, src), 5);
    EXPECT_EQ(cursor, 6);
    EXPECT_EQ(bytesOf(buf, 8), (Bytes{'#', 'a', 'b', 0, 'X', 'Y', '#', '#'}));
    cursor = 3;
    EXPECT_EQ(S::Byte2String(buf, &cursor, dst, 0) + S::Byte2String(buf, &cursor, dst, 4), 4);
    EXPECT_EQ(cursor, 7);
    EXPECT_EQ(std::string(dst, 5), std::string("\0XY#", 4) + "#") << "no terminator is added";
}
