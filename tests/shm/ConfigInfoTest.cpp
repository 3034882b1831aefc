#include "shm/ConfigInfo.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/ByteImage.h"

TEST(ConfigInfo, GoldenBytesOfAFourByteEntry)
{
    EXPECT_EQ(freshImage<ConfigInfo>(), Bytes(52, 0));
    ConfigInfo info;
    int32_t value = 0x01020304;
    ASSERT_EQ(info.setValue("speed", ConfigInfo::FOUR_BYTES, &value), 1);
    Bytes expected(52, 0);
    memcpy(expected.data(), "speed", 5);
    expected[16] = 0x02;  // dataType 2, then the value, host order
    memcpy(&expected[20], "\x04\x03\x02\x01", 4);
    EXPECT_EQ(bytesOf(&info, sizeof info), expected);
}

TEST(ConfigInfo, KeyMustHoldOneToSixteenCharacters)
{
    struct {
        const char* key;
        int expected;
    } cases[] = {{nullptr, -1}, {"", -1}, {"k", 1}, {"sixteen_chars_ok", 1}, {"seventeen_chars_x", -1}};
    for (const auto& c : cases) {
        ConfigInfo info;
        uint8_t v = 9;
        ASSERT_EQ(info.setValue("previous", ConfigInfo::ONE_BYTE, &v), 1);
        Bytes before = bytesOf(&info, sizeof info);
        EXPECT_EQ(info.setValue(c.key, ConfigInfo::ONE_BYTE, &v), c.expected) << (c.key ? c.key : "null");
        if (c.expected < 0) {
            EXPECT_EQ(bytesOf(&info, sizeof info), before) << "a refused key leaves the entry";
        } else {
            EXPECT_EQ(std::string(info.key, strnlen(info.key, 16)), c.key);  // 16: no terminator
        }
    }
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
        EXPECT_EQ(Bytes(info.value, info.value + 32), Bytes(32, 0));
        char out[32];
        EXPECT_EQ(info.getValue(out), -2);
    }
}

TEST(ConfigInfo, EachTypeStoresAndGivesBackExactlyItsWidth)
{
    const std::string long40 = "0123456789abcdefghijklmnopqrstuvwxyzABCD";
    struct {
        ConfigInfo::DataType type;
        std::string source;
        size_t width;  // bytes stored
    } cases[] = {
        {ConfigInfo::ONE_BYTE, long40, 1},
        {ConfigInfo::FOUR_BYTES, long40, 4},
        {ConfigInfo::EIGHT_BYTES, long40, 8},
        {ConfigInfo::TEXT, "", 0},
        {ConfigInfo::TEXT, "eth0", 4},
        {ConfigInfo::TEXT, long40.substr(0, 31), 31},
        {ConfigInfo::TEXT, long40, 31},  // cut, never written past the field
    };
    for (const auto& c : cases) {
        ConfigInfo info;
        memset(info.value, 0x5A, sizeof info.value);
        ASSERT_EQ(info.setValue("w", c.type, c.source.c_str()), 1);
        Bytes stored(c.source.begin(), c.source.begin() + c.width);
        stored.resize(32, 0);  // a text keeps its terminator in the field
        EXPECT_EQ(bytesOf(info.value, 32), stored) << c.type << " " << c.source;
        char out[40];
        memset(out, '#', sizeof out);
        ASSERT_EQ(info.getValue(out), 1);
        Bytes given(c.source.begin(), c.source.begin() + c.width);
        if (c.type == ConfigInfo::TEXT) {
            given.push_back(0);
        }
        given.resize(sizeof out, '#');
        EXPECT_EQ(bytesOf(out, sizeof out), given) << c.type << " " << c.source;
    }
}
