#include "shm/DevConfigMng.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "ShmTestSupport.h"
#include "support/ProcessHelpers.h"

namespace {

ConfigInfo intEntry(const char* key, int32_t value)
{
    ConfigInfo info;
    info.setValue(key, ConfigInfo::FOUR_BYTES, &value);
    return info;
}

std::string keyAt(const DevConfigListInShm& list, int i)
{
    return std::string(list.items[i].key, strnlen(list.items[i].key, ConfigInfo::KEY_LEN));
}

int32_t intAt(const DevConfigListInShm& list, int i)
{
    int32_t v = 0;
    list.items[i].getValue(&v);
    return v;
}

std::vector<std::string> keysOf(const DevConfigListInShm& list)
{
    std::vector<std::string> keys;
    for (int i = 0; i < list.count; ++i) {
        keys.push_back(keyAt(list, i));
    }
    return keys;
}

}  // namespace

TEST(DevConfigMng, ListLayoutIsCountThenEntries)
{
    DevConfigMng owner(true);
    ASSERT_EQ(owner.insertConfig("b", ConfigInfo::FOUR_BYTES, "\x07\0\0\0"), 1);
    ASSERT_EQ(owner.insertConfig("a", ConfigInfo::ONE_BYTE, "\x09"), 1);
    ASSERT_EQ(owner.commit(), 1);

    RawList raw(DevConfigMng::SHM_KEY, DevConfigMng::SHM_SIZE, false);
    const unsigned char* seg = raw.bytes();
    const unsigned char count[4] = {2, 0, 0, 0};
    EXPECT_EQ(memcmp(seg, count, 4), 0);
    EXPECT_EQ(seg[4], 'a');  // ascending key order
    EXPECT_EQ(seg[4 + 16], ConfigInfo::ONE_BYTE);
    EXPECT_EQ(seg[4 + 20], 9);
    EXPECT_EQ(seg[56], 'b');
    EXPECT_EQ(seg[56 + 16], ConfigInfo::FOUR_BYTES);
    EXPECT_EQ(seg[56 + 20], 7);
    for (int i = 108; i < DevConfigMng::SHM_SIZE; ++i) {
        ASSERT_EQ(seg[i], 0) << "byte " << i;
    }
}

TEST(DevConfigMng, InsertIntoListKeepsItSortedAndReplacesSameKey)
{
    std::unique_ptr<DevConfigListInShm> list(new DevConfigListInShm);
    struct Step {
        const char* key;
        int32_t value;
        std::vector<std::string> keys;
    } steps[] = {
        {"m", 1, {"m"}},
        {"a", 2, {"a", "m"}},
        {"Z", 3, {"Z", "a", "m"}},  // byte order: capitals first
        {"aa", 4, {"Z", "a", "aa", "m"}},
        {"sixteen_chars_ok", 5, {"Z", "a", "aa", "m", "sixteen_chars_ok"}},
        {"sixteen_chars_oj", 6, {"Z", "a", "aa", "m", "sixteen_chars_oj", "sixteen_chars_ok"}},
        {"a", 20, {"Z", "a", "aa", "m", "sixteen_chars_oj", "sixteen_chars_ok"}},
    };
    for (const Step& s : steps) {
        // A slot past the count must survive every insert untouched.
        list->items[127] = intEntry("sentinel", 99);
        ConfigInfo entry = intEntry(s.key, s.value);
        EXPECT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &entry), 1) << s.key;
        EXPECT_EQ(keysOf(*list), s.keys) << "after " << s.key;
        EXPECT_EQ(keyAt(*list, 127), "sentinel");
    }
    EXPECT_EQ(intAt(*list, 1), 20) << "the same key was replaced in place";
    EXPECT_EQ(intAt(*list, 0), 3);
}

TEST(DevConfigMng, InsertIntoFullListReplacesButRefusesNewKeys)
{
    std::unique_ptr<DevConfigListInShm> list(new DevConfigListInShm);
    for (int i = 0; i < 128; ++i) {
        ConfigInfo entry = intEntry(("k" + std::to_string(1000 + i)).c_str(), i);
        ASSERT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &entry), 1);
    }
    ASSERT_EQ(list->count, 128);
    ConfigInfo extra = intEntry("k9999", 1);
    EXPECT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &extra), -1);
    EXPECT_EQ(list->count, 128);
    EXPECT_EQ(keyAt(*list, 127), "k1127");
    ConfigInfo again = intEntry("k1127", -7);
    EXPECT_EQ(DevConfigMng::insertConfig2SHM(list.get(), &again), 1);
    EXPECT_EQ(intAt(*list, 127), -7);
}

TEST(DevConfigMng, InsertConfigChecksKeyAndTypeBeforeTouchingTheMap)
{
    DevConfigMng owner(true);
    int32_t v = 5;
    ASSERT_EQ(owner.insertConfig("kept", ConfigInfo::FOUR_BYTES, &v), 1);
    struct Case {
        const char* key;
        int type;
        int expected;
    } cases[] = {
        {nullptr, 2, -1}, {"", 2, -1}, {"seventeen_chars_x", 2, -1}, {"fresh", 0, -2}, {"kept", 5, -2},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(owner.insertConfig(c.key, (ConfigInfo::DataType)c.type, &v), c.expected);
        EXPECT_EQ(owner.configs.size(), 1u);
    }
    int32_t out = 0;
    EXPECT_EQ(owner.getValueByKey("kept", &out), 1);
    EXPECT_EQ(out, 5);

    int32_t replaced = 6;
    EXPECT_EQ(owner.insertConfig("kept", ConfigInfo::FOUR_BYTES, &replaced), 1);
    EXPECT_EQ(owner.getValueByKey("kept", &out), 1);
    EXPECT_EQ(out, 6);
}

TEST(DevConfigMng, CommitOfMoreThanCapacityWritesNothing)
{
    DevConfigMng owner(true);
    int32_t v = 1;
    ASSERT_EQ(owner.insertConfig("first", ConfigInfo::FOUR_BYTES, &v), 1);
    ASSERT_EQ(owner.commit(), 1);
    for (int i = 0; i < 128; ++i) {
        ASSERT_EQ(owner.insertConfig(("k" + std::to_string(i)).c_str(), ConfigInfo::FOUR_BYTES, &v), 1);
    }
    EXPECT_EQ(owner.commit(), -1);
    DevConfigMng reader(false);
    ASSERT_EQ(reader.update(), 1);
    EXPECT_EQ(reader.configs.size(), 1u);
}

TEST(DevConfigMng, ValueCommittedElsewhereIsSeenOnlyAfterUpdate)
{
    DevConfigMng owner(true);
    pid_t writer = forkChild([] {
        DevConfigMng mine(false);
        int64_t big = 0x0102030405060708LL;
        if (mine.insertConfig("big", ConfigInfo::EIGHT_BYTES, &big) != 1 ||
            mine.insertConfig("iface", ConfigInfo::TEXT, "eth0") != 1) {
            return 1;
        }
        return mine.commit() == 1 ? 0 : 2;
    });
    ASSERT_EQ(waitChild(writer), 0);

    int64_t big = 0;
    EXPECT_EQ(owner.getValueByKey("big", &big), -1) << "the local map is read, not the segment";
    ASSERT_EQ(owner.update(), 1);
    EXPECT_EQ(owner.getValueByKey("big", &big), 1);
    EXPECT_EQ(big, 0x0102030405060708LL);
    char text[32];
    EXPECT_EQ(owner.getValueByKey("iface", text), 1);
    EXPECT_STREQ(text, "eth0");
    EXPECT_EQ(owner.getValueByKey("absent", text), -1);

    owner.configs["broken"] = ConfigInfo();  // type 0
    EXPECT_EQ(owner.getValueByKey("broken", text), -2);
}

TEST(DevConfigMng, UpdateRebuildsTheMapFromWhatTheSegmentHolds)
{
    DevConfigMng owner(true);
    RawList raw(DevConfigMng::SHM_KEY, DevConfigMng::SHM_SIZE, false);
    DevConfigListInShm* seg = (DevConfigListInShm*)raw.bytes();
    for (int i = 0; i < 128; ++i) {
        seg->items[i] = intEntry(("k" + std::to_string(1000 + i)).c_str(), i);
    }
    seg->items[1] = intEntry("k1000", 77);  // a later duplicate wins

    struct Case {
        int32_t count;
        size_t entries;
    } cases[] = {{0, 0}, {2, 1}, {3, 2}, {-5, 0}, {1000, 127}, {128, 127}};
    for (const Case& c : cases) {
        DevConfigMng reader(false);
        int32_t v = 1;
        reader.insertConfig("local", ConfigInfo::FOUR_BYTES, &v);
        seg->count = c.count;
        ASSERT_EQ(reader.update(), 1) << "count " << c.count;
        EXPECT_EQ(reader.configs.size(), c.entries) << "count " << c.count;
        EXPECT_EQ(reader.configs.count("local"), 0u);
        if (c.entries > 0) {
            int32_t first = 0;
            reader.getValueByKey("k1000", &first);
            EXPECT_EQ(first, 77);
        }
    }
}

TEST(DevConfigMng, CommitReplacesTheListWhileInsertKeepsOthersEntries)
{
    DevConfigMng owner(true);
    int32_t v = 1;
    owner.insertConfig("mine", ConfigInfo::FOUR_BYTES, &v);
    ASSERT_EQ(owner.commit(), 1);

    pid_t other = forkChild([] {
        DevConfigMng mng(false);
        ConfigInfo entry = intEntry("theirs", 2);
        return mng.operateSHMNotSafe(DevConfigMng::insertConfig2SHM, &entry) == 1 ? 0 : 1;
    });
    ASSERT_EQ(waitChild(other), 0);

    DevConfigMng reader(false);
    ASSERT_EQ(reader.update(), 1);
    EXPECT_EQ(reader.configs.size(), 2u);

    ASSERT_EQ(owner.commit(), 1);  // the owner never read "theirs"
    ASSERT_EQ(reader.update(), 1);
    EXPECT_EQ(reader.configs.size(), 1u);
    EXPECT_EQ(reader.configs.count("mine"), 1u);
}

TEST(DevConfigMng, ConcurrentInsertsFromSeveralProcessesLoseNothing)
{
    DevConfigMng owner(true);
    constexpr int WRITERS = 4;
    constexpr int PER_WRITER = 30;
    std::vector<pid_t> writers;
    for (int w = 0; w < WRITERS; ++w) {
        writers.push_back(forkChild([w] {
            DevConfigMng mine(false);
            for (int i = 0; i < PER_WRITER; ++i) {
                std::string key = "w" + std::to_string(w) + "_" + std::to_string(100 + i);
                ConfigInfo entry = intEntry(key.c_str(), w * 1000 + i);
                if (mine.operateSHMNotSafe(DevConfigMng::insertConfig2SHM, &entry) != 1) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    for (pid_t w : writers) {
        EXPECT_EQ(waitChild(w, 60000), 0);
    }
    ASSERT_EQ(owner.update(), 1);
    ASSERT_EQ(owner.configs.size(), (size_t)(WRITERS * PER_WRITER));
    for (int w = 0; w < WRITERS; ++w) {
        for (int i = 0; i < PER_WRITER; ++i) {
            int32_t got = -1;
            std::string key = "w" + std::to_string(w) + "_" + std::to_string(100 + i);
            ASSERT_EQ(owner.getValueByKey(key.c_str(), &got), 1) << key;
            EXPECT_EQ(got, w * 1000 + i);
        }
    }
    RawList raw(DevConfigMng::SHM_KEY, DevConfigMng::SHM_SIZE, false);
    const DevConfigListInShm* seg = (const DevConfigListInShm*)raw.bytes();
    for (int i = 1; i < seg->count; ++i) {
        EXPECT_LT(memcmp(seg->items[i - 1].key, seg->items[i].key, ConfigInfo::KEY_LEN), 0) << "sorted at " << i;
    }
}
