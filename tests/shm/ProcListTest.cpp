#include "shm/DevProcListMng.h"
#include "shm/FeedWDog.h"
#include "shm/TimeTool.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "support/ByteImage.h"
#include "support/ProcessHelpers.h"

namespace {

ProcFeedBlock blockFor(const std::string& name)
{
    ProcFeedBlock block = {};
    memcpy(block.procName, name.data(), std::min<size_t>(name.size(), 16));
    block.procTag[0] = 't';
    return block;
}

std::string nameAt(const DevProcListInShm& list, int i)
{
    return std::string(list.items[i].procName, strnlen(list.items[i].procName, 16));
}

// One owner for the whole run: FeedWDog::plm attached at load, before any
// owner, and must stay on the same segment and semaphore.
DevProcListMng& owner()
{
    static DevProcListMng list(true);
    return list;
}

// Feeds `name` from a child process, through its own static manager.
int feedFromChild(const std::string& name)
{
    return waitChild(forkChild([name] {
        ProcFeedBlock block = blockFor(name);
        FeedWDog::plm.procs["stale"] = ProcInfo();  // every feed clears this map
        int rc = FeedWDog::plm.operateSHMNotSafe(FeedWDog::refreshOneProc, &block);
        return rc == 1 && FeedWDog::plm.procs.empty() ? 0 : 1;
    }));
}

}  // namespace

TEST(DevProcListMng, RefreshFindsEntryByExactNameOrAppendsWithinTheList)
{
    std::unique_ptr<DevProcListInShm> list(new DevProcListInShm);
    // name, count after, slot refreshed or appended
    struct Step { const char* name; int count, slot; } steps[] = {
        {"gnssd", 1, 0}, {"gnssd2", 2, 1}, {"sixteen_chars_xy", 3, 2},
        {"gnssd", 3, 0}, {"sixteen_chars_xy", 3, 2}, {"gnss", 4, 3},
    };
    for (const Step& s : steps) {
        double before = TimeTool::getPreciseTimeNow();
        ProcFeedBlock block = blockFor(s.name);
        EXPECT_EQ(DevProcListMng::refreshProcInList(list.get(), &block), 1);
        EXPECT_EQ(list->count, s.count) << s.name;
        EXPECT_EQ(nameAt(*list, s.slot), s.name);
        EXPECT_GE(copyOf(list->items[s.slot].latestRefreshTime), before) << s.name;
    }
    // Full, or a count left by a writer that died halfway: never past the list.
    for (int i = 4; i < 64; ++i) {
        ProcFeedBlock block = blockFor("p" + std::to_string(i));
        DevProcListMng::refreshProcInList(list.get(), &block);
    }
    Bytes full = bytesOf(list.get(), sizeof *list);
    for (int32_t count : {64, 1000}) {
        list->count = count;
        ProcFeedBlock extra = blockFor("p64");
        EXPECT_EQ(DevProcListMng::refreshProcInList(list.get(), &extra), 1);
        list->count = 64;
        EXPECT_EQ(bytesOf(list.get(), sizeof *list), full) << count;
    }
}

TEST(DevProcListMng, FeedingProcessesAndARestartedOneShareTheList)
{
    owner().procs.clear();
    ASSERT_EQ(owner().commit(), 1);
    EXPECT_EQ(feedFromChild("alpha"), 0);
    EXPECT_EQ(feedFromChild("beta"), 0);
    DevProcListInShm list;
    ASSERT_EQ(owner().updateFromSHM(&list, sizeof list), 1);
    ASSERT_EQ(list.count, 2);
    EXPECT_EQ(nameAt(list, 1), "beta");

    // alpha died long ago; restarted, it finds and refreshes its old entry.
    list.items[0].latestRefreshTime = TimeTool::getPreciseTimeNow() - 600.0;
    list.items[1] = list.items[0];  // a duplicate name collapses into the later entry
    ASSERT_EQ(owner().commit2SHM(&list, sizeof list), 1);
    EXPECT_EQ(feedFromChild("alpha"), 0);
    ASSERT_EQ(owner().update(), 1);
    EXPECT_EQ(owner().procs.size(), 1u);
    ASSERT_EQ(owner().updateFromSHM(&list, sizeof list), 1);
    EXPECT_FALSE(list.items[0].isPreciseOverTime(5.0));  // the first of the name was fed
    EXPECT_TRUE(owner().procs["alpha"].isPreciseOverTime(90.0));
}
