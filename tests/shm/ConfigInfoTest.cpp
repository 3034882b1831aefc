#include "shm/ConfigInfo.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/ByteImage.h"

TEST(ConfigInfo, EachTypeStoresAndGivesBackExactlyItsWidth)
{
    EXPECT_EQ(freshImage<ConfigInfo>(), Bytes(52, 0));
    const std::string long40 = "0123456789abcdefghijklmnopqrstuvwxyzABCD";
    struct {
        ConfigInfo::DataType type;
        std::string source;
        size_t width;  // bytes stored
    } cases[] = {
        {ConfigInfo::ONE_BYTE, long40, 1}, {ConfigInfo::FOUR_BYTES, long40, 4}, {ConfigInfo::EIGHT_BYTES, long40, 8},
        {ConfigInfo::TEXT, "", 0}, {ConfigInfo::TEXT, long40.substr(0, 31), 31},
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
        Bytes given(stored.begin(), stored.begin() + c.width + (c.type == ConfigInfo::TEXT));
        given.resize(sizeof out, '#');
        EXPECT_EQ(bytesOf(out, sizeof out), given) << c.type << " " << c.source;
    }
}
