// The trace ring: the index advanced before the copy, wrap and saturation at
// 500, bounding of a damaged index/count, and several writers at once.
#include "space/VehTraceMng.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <unistd.h>
#include <vector>

#include "support/ProcessHelpers.h"
#include "PackedValue.h"

namespace {

// A fix told apart by its speed.
GNSS fixNumber(int n)
{
    GNSS g;
    g.speed = (float)n;
    g.position.longitude = 100.0 + n * 1e-5;
    return g;
}

// Runs fn with standard output discarded: every insert prints a line.
template <typename Fn>
void quietly(Fn fn)
{
    fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    close(null);
    fn();
    fflush(stdout);
    std::cout.flush();
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

std::unique_ptr<VehTrace> ringAfter(int inserts)
{
    std::unique_ptr<VehTrace> ring(new VehTrace);
    VehTraceMng::initVehTrace(ring.get(), nullptr);
    quietly([&] {
        for (int i = 1; i <= inserts; ++i) {
            GNSS g = fixNumber(i);
            VehTraceMng::insertOneGNSS2Trace(ring.get(), &g);
        }
    });
    return ring;
}

TEST(VehTraceMng, RingAfterThreeFiveHundredAndFiveHundredOneInserts)
{
    struct {
        int inserts;
        int index;
        int count;
    } cases[] = {
        {1, 1, 1}, {3, 3, 3}, {499, 499, 499}, {500, 0, 500}, {501, 1, 500}, {1003, 3, 500},
    };
    for (const auto& c : cases) {
        std::unique_ptr<VehTrace> ring = ringAfter(c.inserts);
        EXPECT_EQ(ring->index, c.index) << c.inserts;
        EXPECT_EQ(ring->count, c.count) << c.inserts;
        // Walking back from the newest slot gives the fixes newest first.
        for (int back = 0; back < ring->count; ++back) {
            int slot = ring->slotOf(back);
            ASSERT_GE(slot, 0);
            EXPECT_EQ(copyOf(ring->trace[slot].speed), (float)(c.inserts - back)) << c.inserts << " back " << back;
        }
        EXPECT_EQ(ring->slotOf(ring->count), -1);
        EXPECT_EQ(ring->slotOf(-1), -1);
    }
}

TEST(VehTraceMng, FirstFixAfterResetLandsInSlotOne)
{
    std::unique_ptr<VehTrace> ring = ringAfter(3);
    GNSS blank;
    EXPECT_EQ(memcmp(&ring->trace[0], &blank, sizeof blank), 0);
    for (int slot = 1; slot <= 3; ++slot) {
        EXPECT_EQ(copyOf(ring->trace[slot].speed), (float)slot);
    }
    EXPECT_EQ(memcmp(&ring->trace[4], &blank, sizeof blank), 0);
    // Slot 0 is first written by the 500th fix.
    ring = ringAfter(500);
    EXPECT_EQ(copyOf(ring->trace[0].speed), 500.0f);
}

TEST(VehTraceMng, InsertPrintsCountAndIndex)
{
    std::unique_ptr<VehTrace> ring = ringAfter(2);
    GNSS g = fixNumber(3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(VehTraceMng::insertOneGNSS2Trace(ring.get(), &g), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Add 1 GNSS to trace. Totally 3 , index = 3\n");
}

TEST(VehTraceMng, ResetKeepsTheSlots)
{
    std::unique_ptr<VehTrace> ring = ringAfter(5);
    EXPECT_EQ(VehTraceMng::initVehTrace(ring.get(), nullptr), 1);
    EXPECT_EQ(ring->index, 0);
    EXPECT_EQ(ring->count, 0);
    EXPECT_EQ(copyOf(ring->trace[5].speed), 5.0f);
}

TEST(VehTraceMng, DamagedIndexAndCountAreBoundedBeforeUse)
{
    struct {
        int32_t index, count;
        int newIndex, newCount;
    } cases[] = {
        {-1, 3, 1, 4},        // index below the ring: read as 0
        {500, 3, 1, 4},       // one past the end
        {123456, -7, 1, 1},   // negative count: read as 0
        {499, 9999, 0, 500},  // count beyond capacity: read as 500
        {2147483647, 2147483647, 1, 500},
    };
    for (const auto& c : cases) {
        std::unique_ptr<VehTrace> ring(new VehTrace);
        ring->index = c.index;
        ring->count = c.count;
        GNSS g = fixNumber(77);
        quietly([&] { EXPECT_EQ(VehTraceMng::insertOneGNSS2Trace(ring.get(), &g), 1); });
        EXPECT_EQ(ring->index, c.newIndex) << c.index;
        EXPECT_EQ(ring->count, c.newCount) << c.count;
        EXPECT_EQ(copyOf(ring->trace[c.newIndex].speed), 77.0f);
    }
    // A reader's walk never leaves the ring either.
    VehTrace bad;
    bad.index = -40;
    bad.count = 100000;
    EXPECT_EQ(bad.boundedCount(), 500);
    for (int back = 0; back < bad.boundedCount(); ++back) {
        int slot = bad.slotOf(back);
        ASSERT_GE(slot, 0);
        ASSERT_LT(slot, 500);
    }
    EXPECT_EQ(VehTraceMng::insertOneGNSS2Trace(&bad, nullptr), -1);
}

TEST(VehTraceMng, OwnerResetsAndReadersSeeInserts)
{
    VehTraceMng owner(true);
    ASSERT_EQ(owner.update(), 1);
    EXPECT_EQ(owner.trace.index, 0);
    EXPECT_EQ(owner.trace.count, 0);
    quietly([&] {
        for (int i = 1; i <= 3; ++i) {
            GNSS g = fixNumber(i);
            ASSERT_EQ(owner.operateSHMNotSafe(VehTraceMng::insertOneGNSS2Trace, &g), 1);
        }
    });
    VehTraceMng reader(false);
    ASSERT_EQ(reader.update(), 1);
    EXPECT_EQ(reader.trace.index, 3);
    EXPECT_EQ(reader.trace.count, 3);
    EXPECT_EQ(copyOf(reader.trace.trace[3].speed), 3.0f);
}

TEST(VehTraceMng, ConcurrentWritersLoseNoFix)
{
    VehTraceMng owner(true);
    const int writers = 4;
    const int each = 100;  // 400 in all: no slot is overwritten
    std::vector<pid_t> pids;
    Signal go;
    for (int w = 0; w < writers; ++w) {
        pids.push_back(forkChild([w, &go] {
            int null = open("/dev/null", O_WRONLY);
            dup2(null, STDOUT_FILENO);
            VehTraceMng writer(false);
            go.wait();
            for (int i = 0; i < each; ++i) {
                GNSS g = fixNumber(w * 1000 + i);
                if (writer.operateSHMNotSafe(VehTraceMng::insertOneGNSS2Trace, &g) != 1) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    for (int w = 0; w < writers; ++w) {
        go.post();
    }
    for (pid_t pid : pids) {
        EXPECT_EQ(waitChild(pid), 0);
    }
    ASSERT_EQ(owner.update(), 1);
    EXPECT_EQ(owner.trace.count, writers * each);
    EXPECT_EQ(owner.trace.index, writers * each);
    std::set<int> seen;
    std::vector<int> lastOfWriter(writers, -1);
    // Oldest first: each writer's fixes appear in the order it sent them.
    for (int back = owner.trace.count - 1; back >= 0; --back) {
        int n = (int)owner.trace.trace[owner.trace.slotOf(back)].speed;
        seen.insert(n);
        int w = n / 1000;
        ASSERT_LT(w, writers);
        EXPECT_GT(n % 1000, lastOfWriter[w]);
        lastOfWriter[w] = n % 1000;
    }
    EXPECT_EQ(seen.size(), (size_t)(writers * each));
}

}  // namespace
