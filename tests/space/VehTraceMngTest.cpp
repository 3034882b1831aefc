// The trace ring: the index advanced before the copy, wrap and saturation at
// 500, and bounding of a damaged index/count.
#include "space/VehTraceMng.h"

#include <gtest/gtest.h>
#include <memory>

#include "support/ByteImage.h"

namespace {

// A fix told apart by its speed.
GNSS fixNumber(int n) { GNSS g; g.speed = (float)n; return g; }

TEST(VehTraceMng, RingWrapsAndSaturatesAtFiveHundred)
{
    struct { int inserts, index, count; } cases[] = {
        {1, 1, 1}, {3, 3, 3}, {499, 499, 499}, {500, 0, 500}, {501, 1, 500}, {1003, 3, 500}};
    for (const auto& c : cases) {
        std::unique_ptr<VehTrace> ring(new VehTrace);
        VehTraceMng::initVehTrace(ring.get(), nullptr);
        testing::internal::CaptureStdout();  // every insert prints a line
        for (int i = 1; i <= c.inserts; ++i) {
            GNSS g = fixNumber(i);
            VehTraceMng::insertOneGNSS2Trace(ring.get(), &g);
        }
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(ring->index, c.index) << c.inserts;
        EXPECT_EQ(ring->count, c.count) << c.inserts;
        // Walking back from the newest slot gives the fixes newest first.
        for (int back = 0; back < ring->count; ++back) {
            int slot = ring->slotOf(back);
            ASSERT_GE(slot, 0);
            EXPECT_EQ(copyOf(ring->trace[slot].speed), (float)(c.inserts - back)) << c.inserts << " back " << back;
        }
        EXPECT_TRUE(ring->slotOf(ring->count) == -1 && ring->slotOf(-1) == -1);
        // A reset forgets the fixes but leaves the slots.
        EXPECT_EQ(VehTraceMng::initVehTrace(ring.get(), nullptr), 1);
        EXPECT_TRUE(ring->index == 0 && ring->count == 0 && ring->trace[c.index].speed == (float)c.inserts);
    }
}

TEST(VehTraceMng, DamagedIndexAndCountAreBoundedBeforeUse)
{
    // An index outside the ring is read as 0, a count below 0 as 0 and one
    // beyond capacity as 500.
    struct { int32_t index, count; int newIndex, newCount; } cases[] = {
        {-1, 3, 1, 4}, {500, 3, 1, 4}, {123456, -7, 1, 1}, {499, 9999, 0, 500}, {2147483647, 2147483647, 1, 500},
    };
    for (const auto& c : cases) {
        std::unique_ptr<VehTrace> ring(new VehTrace);
        ring->index = c.index, ring->count = c.count;
        GNSS g = fixNumber(77);
        testing::internal::CaptureStdout();
        EXPECT_EQ(VehTraceMng::insertOneGNSS2Trace(ring.get(), &g), 1);
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(ring->index, c.newIndex) << c.index;
        EXPECT_EQ(ring->count, c.newCount) << c.count;
        EXPECT_EQ(copyOf(ring->trace[c.newIndex].speed), 77.0f);
        // A reader's walk of the damaged ring never leaves it either.
        ring->index = c.index, ring->count = c.count;
        EXPECT_EQ(ring->boundedCount(), c.newCount == 500 ? 500 : c.newCount - 1);
        for (int back = 0; back < ring->boundedCount(); ++back) {
            ASSERT_TRUE(ring->slotOf(back) >= 0 && ring->slotOf(back) < 500) << c.index << " back " << back;
        }
    }
    VehTrace empty;
    EXPECT_EQ(VehTraceMng::insertOneGNSS2Trace(&empty, nullptr), -1);
}

}  // namespace
