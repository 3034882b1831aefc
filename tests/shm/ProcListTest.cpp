#include "shm/DevProcListMng.h"
#include "shm/FeedWDog.h"
#include "shm/TimeTool.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "support/ByteImage.h"
#include "support/ProcessHelpers.h"

namespace {

ProcFeedBlock blockFor(const char* name, const char* tag)
{
    ProcFeedBlock block;
    memset(&block, 0, sizeof block);
    memcpy(block.procName, name, strnlen(name, 16));
    memcpy(block.procTag, tag, strnlen(tag, 16));
    return block;
}

std::string nameAt(const DevProcListInShm& list, int i)
{
    return std::string(list.items[i].procName, strnlen(list.items[i].procName, 16));
}

// The process list for this executable: owned by the test process for the
// whole run, so that FeedWDog::plm (attached at load, before any owner) stays
// on the same segment and semaphore. Each test starts from an empty list.
class ProcList : public ::testing::Test {
protected:
    static DevProcListMng& owner()
    {
        static DevProcListMng list(true);
        return list;
    }
    void SetUp() override
    {
        owner().procs.clear();
        ASSERT_EQ(owner().commit(), 1);
    }
    DevProcListInShm read()
    {
        DevProcListInShm list;
        EXPECT_EQ(owner().updateFromSHM(&list, sizeof list), 1);
        return list;
    }
};

}  // namespace

TEST(ProcInfo, ImageHoldsTimeAndBothTextsZeroPadded)
{
    Bytes fresh = freshImage<ProcInfo>();
    EXPECT_EQ(fresh, Bytes(40, 0));

    ProcInfo info("fifteen_chars_x", "sixteen_chars_xy_cut");
    info.latestRefreshTime = 1.5;  // 0x3FF8000000000000
    Bytes expected = {0, 0, 0, 0, 0, 0, 0xF8, 0x3F};
    for (const char* text : {"fifteen_chars_x\0", "sixteen_chars_xy"}) {
        expected.insert(expected.end(), text, text + 16);
    }
    EXPECT_EQ(bytesOf(&info, sizeof info), expected);

    info.setInfo("a", nullptr);  // earlier texts wiped whole
    EXPECT_EQ(bytesOf(info.procName, 16), Bytes({'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(bytesOf(info.procTag, 16), Bytes(16, 0));
}

TEST(DevProcListMng, RefreshFindsEntryByExactNameOrAppends)
{
    std::unique_ptr<DevProcListInShm> list(new DevProcListInShm);
    struct {
        const char* name;
        const char* tag;
        int countAfter;
        int slot;  // the entry refreshed or appended
    } steps[] = {
        {"gnssd", "v1", 1, 0},
        {"gnssd2", "v1", 2, 1},            // a longer name is another process
        {"fifteen_chars_x", "t", 3, 2},
        {"gnssd", "v2", 3, 0},             // found again: tag kept from the first feed
        {"fifteen_chars_x", "u", 3, 2},
        {"gnss", "", 4, 3},                // a prefix of a listed name is new
    };
    for (const auto& s : steps) {
        double before = TimeTool::getPreciseTimeNow();
        ProcFeedBlock block = blockFor(s.name, s.tag);
        EXPECT_EQ(DevProcListMng::refreshProcInList(list.get(), &block), 1) << s.name;
        EXPECT_EQ(list->count, s.countAfter) << s.name;
        EXPECT_EQ(nameAt(*list, s.slot), s.name);
        EXPECT_GE(copyOf(list->items[s.slot].latestRefreshTime), before) << s.name;
    }
    EXPECT_STREQ(list->items[0].procTag, "v1");
}

TEST(DevProcListMng, RefreshNeverWritesPastTheList)
{
    std::unique_ptr<DevProcListInShm> list(new DevProcListInShm);
    for (int i = 0; i < 64; ++i) {
        ProcFeedBlock block = blockFor(("p" + std::to_string(i)).c_str(), "");
        ASSERT_EQ(DevProcListMng::refreshProcInList(list.get(), &block), 1);
    }
    ASSERT_EQ(list->count, 64);
    Bytes full = bytesOf(list.get(), sizeof *list);
    ProcFeedBlock extra = blockFor("p64", "");
    EXPECT_EQ(DevProcListMng::refreshProcInList(list.get(), &extra), 1);
    EXPECT_EQ(bytesOf(list.get(), sizeof *list), full);

    // A count left by a writer that died halfway is bounded before use:
    // negative reads as empty, too large as full.
    for (int32_t bad : {-5, 1000}) {
        memcpy(list.get(), full.data(), full.size());
        list->count = bad;
        list->items[63].latestRefreshTime = 0.0;
        ProcFeedBlock last = blockFor("p63", "");
        EXPECT_EQ(DevProcListMng::refreshProcInList(list.get(), &last), 1);
        EXPECT_EQ(list->count, bad < 0 ? 1 : bad);
        EXPECT_EQ(nameAt(*list, 0), bad < 0 ? "p63" : "p0");
        EXPECT_EQ(copyOf(list->items[63].latestRefreshTime) > 0.0, bad > 0) << bad;
    }
}

TEST_F(ProcList, CommitAndUpdateKeyEntriesByName)
{
    DevProcListMng reader(false);
    DevProcListInShm image;
    image.count = 3;
    image.items[0] = ProcInfo("a", "old");
    image.items[1] = ProcInfo("b", "");
    image.items[2] = ProcInfo("a", "new");  // the later of one name wins
    ASSERT_EQ(owner().commit2SHM(&image, sizeof image), 1);
    ASSERT_EQ(reader.update(), 1);
    ASSERT_EQ(reader.procs.size(), 2u);
    EXPECT_STREQ(reader.procs["a"].procTag, "new");

    reader.procs.clear();
    for (int i = 0; i < 65; ++i) {
        reader.procs["p" + std::to_string(i)] = ProcInfo(("p" + std::to_string(i)).c_str(), "");
    }
    EXPECT_EQ(reader.commit(), -1);
    reader.procs.erase("p0");
    EXPECT_EQ(reader.commit(), 1);
    EXPECT_EQ(read().count, 64);
}

TEST_F(ProcList, FeedingProcessesAndARestartedOneShareTheList)
{
    // Two processes feed through their own static manager.
    for (const char* name : {"alpha", "beta"}) {
        pid_t child = forkChild([name] {
            ProcFeedBlock block = blockFor(name, "t");
            FeedWDog::plm.procs["stale"] = ProcInfo();  // the feed clears this map
            int rc = FeedWDog::plm.operateSHMNotSafe(FeedWDog::refreshOneProc, &block);
            return rc == 1 && FeedWDog::plm.procs.empty() ? 0 : 1;
        });
        ASSERT_EQ(waitChild(child), 0) << name;
    }
    DevProcListInShm list = read();
    ASSERT_EQ(list.count, 2);
    EXPECT_EQ(nameAt(list, 0), "alpha");
    EXPECT_EQ(nameAt(list, 1), "beta");

    // alpha died long ago; restarted, it finds and refreshes its old entry.
    list.items[0].latestRefreshTime = TimeTool::getPreciseTimeNow() - 600.0;
    ASSERT_EQ(owner().commit2SHM(&list, sizeof list), 1);
    ASSERT_EQ(owner().update(), 1);
    EXPECT_TRUE(owner().procs["alpha"].isPreciseOverTime(90.0));
    pid_t restarted = forkChild([] {
        ProcFeedBlock block = blockFor("alpha", "t");
        return FeedWDog::plm.operateSHMNotSafe(FeedWDog::refreshOneProc, &block) == 1 ? 0 : 1;
    });
    ASSERT_EQ(waitChild(restarted), 0);
    ASSERT_EQ(owner().update(), 1);
    EXPECT_EQ(owner().procs.size(), 2u);
    EXPECT_FALSE(owner().procs["alpha"].isPreciseOverTime(90.0));
}

TEST_F(ProcList, FeedingThreadStartsWithoutFeedingAtOnce)
{
    // Run in a child, whose exit ends the thread.
    pid_t child = forkChild([] {
        auto start = std::chrono::steady_clock::now();
        int rc = FeedWDog::start_thr_FeedDog("worker", "x");
        auto cost = std::chrono::steady_clock::now() - start;
        if (rc != 1 || cost < std::chrono::milliseconds(50)) {
            return 1;
        }
        DevProcListInShm list;
        FeedWDog::plm.updateFromSHM(&list, sizeof list);
        return list.count == 0 ? 0 : 2;  // the first feed is one period away
    });
    EXPECT_EQ(waitChild(child), 0);
}
