#include "shm/ConfigInfo.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> bytesOf(const ConfigInfo& info)
{
    const unsigned char* p = (const unsigned char*)&info;
    return std::vector<unsigned char>(p, p + sizeof info);
}

}  // namespace

TEST(ConfigInfo, GoldenBytesOfAFourByteEntry)
{
    ConfigInfo info;
    int32_t value = 0x01020304;
    ASSERT_EQ(info.setValue("speed", ConfigInfo::FOUR_BYTES, &value), 1);
    std::vector<unsigned char> expected(52, 0);
    const unsigned char head[] = {'s', 'p', 'e', 'e', 'd'};
    memcpy(expected.data(), head, sizeof head);
    expected[16] = 0x02;  // dataType 2, host order
    expected[20] = 0x04;  // the value, host order
    expected[21] = 0x03;
    expected[22] = 0x02;
    expected[23] = 0x01;
    EXPECT_EQ(bytesOf(info), expected);
    EXPECT_EQ(bytesOf(ConfigInfo()), std::vector<unsigned char>(52, 0));
}

TEST(ConfigInfo, KeyMustHoldOneToSixteenCharacters)
{
    struct Case {
        const char* key;
        int expected;
    } cases[] = {
        {nullptr, -1},
        {"", -1},
        {"k", 1},
        {"sixteen_chars_ok", 1},
        {"seventeen_chars_x", -1},
    };
    for (const Case& c : cases) {
        ConfigInfo info;
        uint8_t old = 9;
        ASSERT_EQ(info.setValue("previous", ConfigInfo::ONE_BYTE, &old), 1);
        std::vector<unsigned char> before = bytesOf(info);
        uint8_t v = 5;
        EXPECT_EQ(info.setValue(c.key, ConfigInfo::ONE_BYTE, &v), c.expected) << (c.key ? c.key : "null");
        if (c.expected < 0) {
            EXPECT_EQ(bytesOf(info), before) << "a refused key leaves the entry";
        } else {
            EXPECT_EQ(std::string(info.key, strnlen(info.key, 16)), c.key);
        }
    }
    // Sixteen characters fill the field with no terminator.
    ConfigInfo full;
    uint8_t v = 1;
    full.setValue("sixteen_chars_ok", ConfigInfo::ONE_BYTE, &v);
    EXPECT_EQ(memcmp(full.key, "sixteen_chars_ok", 16), 0);
    EXPECT_EQ(full.dataType, ConfigInfo::ONE_BYTE);
}

TEST(ConfigInfo, TypeOutsideOneToFourKeepsKeyAndTypeWithZeroValue)
{
    for (int type : {0, 5, -1}) {
        ConfigInfo info;
        int64_t v = -1;
        ASSERT_EQ(info.setValue("k", ConfigInfo::EIGHT_BYTES, &v), 1);
        EXPECT_EQ(info.setValue("other", (ConfigInfo::DataType)type, &v), -2) << type;
        EXPECT_STREQ(info.key, "other");
        EXPECT_EQ(info.dataType, type);
        EXPECT_EQ(std::vector<unsigned char>(info.value, info.value + 32), std::vector<unsigned char>(32, 0));
        char out[32];
        EXPECT_EQ(info.getValue(out), -2);
    }
}

TEST(ConfigInfo, EachTypeCopiesExactlyItsWidth)
{
    const unsigned char source[32] = {0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A,
                                      0x8B, 0x8C, 0x8D, 0x8E, 0x8F, 0x90, 0x91, 0x92};
    struct Case {
        ConfigInfo::DataType type;
        int width;
    } cases[] = {{ConfigInfo::ONE_BYTE, 1}, {ConfigInfo::FOUR_BYTES, 4}, {ConfigInfo::EIGHT_BYTES, 8}};
    for (const Case& c : cases) {
        ConfigInfo info;
        ASSERT_EQ(info.setValue("w", c.type, source), 1);
        for (int i = 0; i < 32; ++i) {
            EXPECT_EQ((unsigned char)info.value[i], i < c.width ? source[i] : 0) << c.width << " byte " << i;
        }
        unsigned char out[16];
        memset(out, 0xEE, sizeof out);
        ASSERT_EQ(info.getValue(out), 1);
        for (int i = 0; i < 16; ++i) {
            EXPECT_EQ(out[i], i < c.width ? source[i] : 0xEE) << c.width << " out byte " << i;
        }
    }
}

TEST(ConfigInfo, TextIsStoredWithItsTerminatorUpToThirtyOneCharacters)
{
    struct Case {
        std::string text;
        std::string stored;
    } cases[] = {
        {"", ""},
        {"eth0", "eth0"},
        {std::string(31, 't'), std::string(31, 't')},
        {std::string(40, 'u'), std::string(31, 'u')},  // cut, never written past the field
    };
    for (const Case& c : cases) {
        ConfigInfo info;
        memset(info.value, 0x5A, sizeof info.value);
        ASSERT_EQ(info.setValue("t", ConfigInfo::TEXT, c.text.c_str()), 1);
        EXPECT_EQ(info.value[31], '\0');
        char out[40];
        memset(out, 'x', sizeof out);
        ASSERT_EQ(info.getValue(out), 1);
        EXPECT_EQ(std::string(out), c.stored);
        for (size_t i = c.stored.size(); i < 32; ++i) {
            ASSERT_EQ(info.value[i], '\0') << "rest of the field is zero";
        }
    }
}
