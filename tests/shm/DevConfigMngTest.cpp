#include "shm/DevConfigMng.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "ShmTestSupport.h"
#include "support/ByteImage.h"

namespace {

ConfigInfo intEntry(const std::string& key, int32_t value)
{
    ConfigInfo info;
    info.setValue(key.c_str(), ConfigInfo::FOUR_BYTES, &value);
    return info;
}

std::string keyAt(const DevConfigListInShm& list, int i)
{
    return std::string(list.items[i].key, strnlen(list.items[i].key, ConfigInfo::KEY_LEN));
}

std::vector<std::string> keysOf(const DevConfigListInShm& list)
{
    std::vector<std::string> keys;
    for (int i = 0; i < list.count; ++i) {
        keys.push_back(keyAt(list, i));
    }
    return keys;
}

int32_t intAt(const DevConfigListInShm& list, int i)
{
    int32_t v = 0;
    list.items[i].getValue(&v);
    return v;
}

}  // namespace

TEST(DevConfigMng, InsertIntoListKeepsItSortedAndReplacesSameKey)
{
    std::unique_ptr<DevConfigListInShm> list(new DevConfigListInShm);
    int32_t value = 0;
    for (const char* key : {"m", "a", "Z", "aa", "sixteen_chars_ok", "sixteen_chars_oj", "a"}) {
        list->items[127] = intEntry("sentinel", 99);  // past the count: never touched
        ConfigInfo entry = intEntry(key, ++value);
        EXPECT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &entry), 1) << key;
        EXPECT_EQ(keyAt(*list, 127), "sentinel") << key;
    }
    // Byte order, capitals first; the second "a" replaced the first in place.
    EXPECT_EQ(keysOf(*list), (std::vector<std::string>{"Z", "a", "aa", "m", "sixteen_chars_oj", "sixteen_chars_ok"}));
    EXPECT_EQ(intAt(*list, 1), 7);
    EXPECT_EQ(intAt(*list, 0), 3);
    // Full: an entry is still replaced, a new key refused.
    for (int i = 6; i < 128; ++i) {
        ConfigInfo entry = intEntry("k" + std::to_string(i), i);
        ASSERT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &entry), 1);
    }
    ConfigInfo extra = intEntry("k9999", 1), again = intEntry("m", -7);
    EXPECT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &extra), -1);
    EXPECT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &again), 1);
    EXPECT_EQ(list->count, 128);
    EXPECT_EQ(intAt(*list, 125), -7);
}

TEST(DevConfigMng, InsertRepairsAnEntryLeftTwiceAndAListOutOfOrder)
{
    // A writer killed inside an insert leaves an entry twice side by side;
    // another writer may leave the list out of order. Either way the next
    // insert gives the sorted list with every key once.
    for (const std::vector<std::string>& before : {std::vector<std::string>{"a", "b", "b", "d"}, {"d", "a", "b"}}) {
        std::unique_ptr<DevConfigListInShm> list(new DevConfigListInShm);
        for (const std::string& key : before) {
            list->items[list->count] = intEntry(key, 1);
            list->count = list->count + 1;
        }
        ConfigInfo entry = intEntry("c", 2);
        ASSERT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &entry), 1);
        EXPECT_EQ(keysOf(*list), (std::vector<std::string>{"a", "b", "c", "d"})) << before.size();
    }
}

TEST(DevConfigMng, InsertConfigChecksKeyAndTypeBeforeTouchingTheMap)
{
    DevConfigMng owner(true);
    int32_t v = 5;
    ASSERT_EQ(owner.insertConfig("kept", ConfigInfo::FOUR_BYTES, &v), 1);
    struct {
        const char* key;
        int type, expected;
    } cases[] = {{nullptr, 2, -1}, {"", 2, -1}, {"seventeen_chars_x", 2, -1}, {"fresh", 0, -2}, {"kept", 5, -2}};
    for (const auto& c : cases) {
        EXPECT_EQ(owner.insertConfig(c.key, (ConfigInfo::DataType)c.type, &v), c.expected) << c.type;
        EXPECT_EQ(owner.configs.size(), 1u);
    }
    int32_t out = 0;
    EXPECT_EQ(owner.getValueByKey("kept", &out), 1);
    EXPECT_EQ(out, 5);
    owner.configs["broken"] = ConfigInfo();  // type 0
    EXPECT_EQ(owner.getValueByKey("broken", &out), -2);
    EXPECT_EQ(owner.getValueByKey("absent", &out), -1);
}

TEST(DevConfigMng, CommitOfMoreThanTheListHoldsWritesNothing)
{
    DevConfigMng owner(true);
    int32_t v = 1;
    ASSERT_TRUE(owner.insertConfig("mine", ConfigInfo::FOUR_BYTES, &v) == 1 && owner.commit() == 1);
    for (int i = 0; i < 128; ++i) {
        ASSERT_EQ(owner.insertConfig(("k" + std::to_string(i)).c_str(), ConfigInfo::FOUR_BYTES, &v), 1);
    }
    EXPECT_EQ(owner.commit(), -1);
    DevConfigMng other(false);
    ASSERT_EQ(other.update(), 1);
    EXPECT_TRUE(other.configs.size() == 1 && other.getValueByKey("mine", &v) == 1);
}

TEST(DevConfigMng, UpdateTrustsNoCountBeyondTheList)
{
    DevConfigMng owner(true);
    RawList raw(DevConfigMng::SHM_KEY, DevConfigMng::SHM_SIZE, false);
    DevConfigListInShm* seg = (DevConfigListInShm*)raw.bytes();
    for (int i = 0; i < 128; ++i) {
        seg->items[i] = intEntry("k" + std::to_string(1000 + i), i);
    }
    seg->items[1] = intEntry("k1000", 77);  // a later duplicate wins
    for (auto c : {std::make_pair(2, 1), {-5, 0}, {1000, 127}, {128, 127}}) {  // count, entries seen
        DevConfigMng reader(false);
        int32_t v = 1;
        seg->count = c.first;
        ASSERT_EQ(reader.update(), 1) << "count " << c.first;
        EXPECT_EQ(reader.configs.size(), (size_t)c.second) << "count " << c.first;
        EXPECT_EQ(reader.getValueByKey("k1000", &v), c.second > 0 ? 1 : -1);
        EXPECT_EQ(v, c.second > 0 ? 77 : 1) << "count " << c.first;
    }
}

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
