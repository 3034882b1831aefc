#include "codec/SerializeTool.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

constexpr unsigned char SENTINEL = 0xA5;
constexpr int START = 3;  // odd on purpose: the wire has no alignment

using Bytes = std::vector<unsigned char>;

// Runs one writer at START in a sentinel-filled buffer; returns the bytes it
// wrote and checks it touched nothing else.
template <typename Write>
Bytes written(Write write, int width)
{
    char buf[32];
    memset(buf, SENTINEL, sizeof buf);
    int cursor = START;
    int rc = write(buf, &cursor);
    EXPECT_EQ(rc, width);
    EXPECT_EQ(cursor, START + width);
    for (int i = 0; i < (int)sizeof buf; ++i) {
        if (i < START || i >= START + width) {
            EXPECT_EQ((unsigned char)buf[i], SENTINEL) << "byte " << i << " outside the field";
        }
    }
    return Bytes(buf + START, buf + START + width);
}

template <typename T>
uint64_t bitsOf(T value)
{
    uint64_t bits = 0;
    memcpy(&bits, &value, sizeof value);
    return bits;
}

// Writes then reads back at the same start; both cursors must move alike.
template <typename T, typename Write, typename Read>
void expectRoundTrip(T value, Write write, Read read)
{
    char buf[16] = {};
    int wc = START;
    int rc = START;
    T back;
    memset(&back, 0x5A, sizeof back);
    EXPECT_EQ(write(buf, &wc, value), (int)sizeof(T));
    EXPECT_EQ(read(buf, &rc, &back), (int)sizeof(T));
    EXPECT_EQ(wc, START + (int)sizeof(T));
    EXPECT_EQ(rc, wc);
    EXPECT_EQ(bitsOf(back), bitsOf(value)) << "value " << value;
}

}  // namespace

TEST(SerializeTool, NumbersAreWrittenMostSignificantByteFirst)
{
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Short2Byte(b, c, -2); }, 2), (Bytes{0xFF, 0xFE}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Short2Byte(b, c, 0x1234); }, 2),
              (Bytes{0x12, 0x34}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Int2Byte(b, c, 16909060); }, 4),
              (Bytes{0x01, 0x02, 0x03, 0x04}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Int2Byte(b, c, INT_MIN); }, 4),
              (Bytes{0x80, 0x00, 0x00, 0x00}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Long2Byte(b, c, 1); }, 8),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0x01}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Long2Byte(b, c, 0x0102030405060708LL); }, 8),
              (Bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Long2Byte(b, c, -2); }, 8),
              (Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Float2Byte(b, c, 1.0f); }, 4),
              (Bytes{0x3F, 0x80, 0x00, 0x00}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Float2Byte(b, c, -2.5f); }, 4),
              (Bytes{0xC0, 0x20, 0x00, 0x00}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Double2Byte(b, c, 1.0); }, 8),
              (Bytes{0x3F, 0xF0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(written([](char* b, int* c) { return SerializeTool::Double2Byte(b, c, 116.3912345); }, 8),
              (Bytes{0x40, 0x5D, 0x19, 0x09, 0xFC, 0x6D, 0xA4, 0x48}));
}

TEST(SerializeTool, NumbersAreReadMostSignificantByteFirst)
{
    const char wire[] = "\xFF\xFE\x01\x02\x03\x04\x00\x00\x00\x00\x00\x00\x00\x01\x3F\x80\x00\x00"
                        "\x3F\xF0\x00\x00\x00\x00\x00\x00";
    int cursor = 0;
    short s = 0;
    int i = 0;
    long long l = 0;
    float f = 0;
    double d = 0;
    EXPECT_EQ(SerializeTool::Byte2Short(wire, &cursor, &s), 2);
    EXPECT_EQ(SerializeTool::Byte2Int(wire, &cursor, &i), 4);
    EXPECT_EQ(SerializeTool::Byte2Long(wire, &cursor, &l), 8);
    EXPECT_EQ(SerializeTool::Byte2Float(wire, &cursor, &f), 4);
    EXPECT_EQ(SerializeTool::Byte2Double(wire, &cursor, &d), 8);
    EXPECT_EQ(cursor, 26);
    EXPECT_EQ(s, -2);
    EXPECT_EQ(i, 16909060);
    EXPECT_EQ(l, 1);
    EXPECT_EQ(f, 1.0f);
    EXPECT_EQ(d, 1.0);
}

TEST(SerializeTool, EveryValueSurvivesARoundTripBitForBit)
{
    for (short v : {(short)0, (short)-1, (short)1, (short)SHRT_MIN, (short)SHRT_MAX, (short)0x00FF, (short)0x7F80}) {
        expectRoundTrip(v, SerializeTool::Short2Byte, SerializeTool::Byte2Short);
    }
    for (int v : {0, -1, 1, INT_MIN, INT_MAX, 0x000000FF, 0x7F808182}) {
        expectRoundTrip(v, SerializeTool::Int2Byte, SerializeTool::Byte2Int);
    }
    for (long long v : {0LL, -1LL, 1LL, LLONG_MIN, LLONG_MAX, 0x00000000FFFFFFFFLL, 4311744512LL}) {
        expectRoundTrip(v, SerializeTool::Long2Byte, SerializeTool::Byte2Long);
    }
    for (float v : {0.0f, -0.0f, 1.0f, -1e-40f /* subnormal */, std::numeric_limits<float>::max(),
                    std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
        expectRoundTrip(v, SerializeTool::Float2Byte, SerializeTool::Byte2Float);
    }
    for (double v : {0.0, -0.0, 1.0, 116.3912345, 39.9075, 4.9e-324, -std::numeric_limits<double>::max(),
                     -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        expectRoundTrip(v, SerializeTool::Double2Byte, SerializeTool::Byte2Double);
    }
}

TEST(SerializeTool, RawBytesAreCopiedAsGivenWithoutTerminator)
{
    // "ab" followed by bytes after its terminator: all five go.
    char src[8] = {'a', 'b', '\0', 'X', 'Y', 'Z'};
    EXPECT_EQ(written([&](char* b, int* c) { return SerializeTool::String2Byte(b, c, 5, src); }, 5),
              (Bytes{'a', 'b', 0, 'X', 'Y'}));
    EXPECT_EQ(written([&](char* b, int* c) { return SerializeTool::String2Byte(b, c, 0, src); }, 0), Bytes{});

    const char wire[] = "\x01name\x02";
    char dst[8];
    memset(dst, '#', sizeof dst);
    int cursor = 1;
    EXPECT_EQ(SerializeTool::Byte2String(wire, &cursor, dst, 4), 4);
    EXPECT_EQ(cursor, 5);
    EXPECT_EQ(std::string(dst, 5), "name#") << "no terminator is added";
    EXPECT_EQ(SerializeTool::Byte2String(wire, &cursor, dst, 0), 0);
    EXPECT_EQ(cursor, 5);
}

TEST(SerializeTool, FieldsPackBackToBackWithoutPadding)
{
    char buf[32];
    memset(buf, SENTINEL, sizeof buf);
    int cursor = 0;
    SerializeTool::Short2Byte(buf, &cursor, 0x0102);
    SerializeTool::Long2Byte(buf, &cursor, 0x030405060708090ALL);
    EXPECT_EQ(cursor, 10);
    buf[cursor++] = 0x0B;  // single bytes are the caller's
    SerializeTool::Float2Byte(buf, &cursor, 1.0f);
    char text[] = "ok";
    SerializeTool::String2Byte(buf, &cursor, 2, text);
    SerializeTool::Int2Byte(buf, &cursor, -1);
    EXPECT_EQ(cursor, 21);
    const Bytes expected = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B,
                            0x3F, 0x80, 0x00, 0x00, 'o',  'k',  0xFF, 0xFF, 0xFF, 0xFF, SENTINEL};
    EXPECT_EQ(Bytes(buf, buf + 22), expected);

    cursor = 0;
    short s;
    long long l;
    float f;
    int i;
    char t[2];
    SerializeTool::Byte2Short(buf, &cursor, &s);
    SerializeTool::Byte2Long(buf, &cursor, &l);
    cursor += 1;
    SerializeTool::Byte2Float(buf, &cursor, &f);
    SerializeTool::Byte2String(buf, &cursor, t, 2);
    SerializeTool::Byte2Int(buf, &cursor, &i);
    EXPECT_EQ(cursor, 21);
    EXPECT_EQ(s, 0x0102);
    EXPECT_EQ(l, 0x030405060708090ALL);
    EXPECT_EQ(f, 1.0f);
    EXPECT_EQ(i, -1);
}
