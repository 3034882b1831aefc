// The participant lists: their keys, insert and refresh, ageing, the one
// record past the array, damaged counts, and the identifiers they give out.
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <set>
#include <thread>

#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PtcLocalIDMng.h"
#include "shm/TimeTool.h"
#include "support/ByteImage.h"
#include "PtcTestUtil.h"

namespace {

PTC ptc(uint16_t ptcID, uint8_t source, const char* sourceID)
{
    PTC p;
    p.ptcID = ptcID;
    p.source = source;
    strncpy(p.sourceID, sourceID, sizeof p.sourceID);
    return p;
}

TEST(PtcLists, KeysTellParticipantsApart)
{
    Seg<PTCListMng> ptcs(true);
    // A second participant after ptc(7, 1, "cam-1"), and the answer: 1 when it is the same one.
    std::pair<PTC, int> cases[] = {{ptc(7, 1, "cam-1"), 1}, {ptc(7, 2, "cam-1"), 2}, {ptc(8, 1, "cam-1"), 2},
                                   {ptc(7, 1, "cam-2"), 2}, {ptc(7, 1, "cam-1\0junk"), 1}};  // text to the zero
    for (auto& c : cases) {
        ptcs.setCount(0);
        PTC first = ptc(7, 1, "cam-1");
        ASSERT_EQ(insertInto(ptcs, &first), 2);
        EXPECT_EQ(insertInto(ptcs, &c.first), c.second) << c.first.ptcID << " " << (int)c.first.source;
    }
    // Several at once: a stored one keeps its identifier, a new one gets the next.
    PTC stored = ptc(7, 1, "cam-1");
    ASSERT_EQ(insertInto(ptcs, &stored), 1);
    std::vector<PTC> batch = {ptc(9, 1, "cam-1"), ptc(7, 1, "cam-1")};
    EXPECT_EQ(ptcs.operateSHMNotSafe(PTCListMng::insertUpdateListMulti, &batch), 1);
    EXPECT_TRUE(batch[1].localID == stored.localID && batch[0].localID == stored.localID + 1 && ptcs.storedCount() == 2);

    // OBU and RSU lists know a device by its id; an empty id is an id too.
    Seg<PtcOBUListMng> obus(true);
    Seg<PtcRSUListMng> rsus(true);
    const char* ids[] = {"", "obu-a", "", "0123456789abcdef", "0123456789abcdeX", "obu-a"};
    int expected[] = {2, 2, 1, 2, 2, 1};
    for (int i = 0; i < 6; ++i) {
        OBU o;
        RSU r;
        memcpy(o.id, ids[i], strlen(ids[i]));
        memcpy(r.id, ids[i], strlen(ids[i]));
        EXPECT_EQ(insertInto(obus, &o) * 10 + insertInto(rsus, &r), expected[i] * 11) << i;
    }
}

// The same claims on all three lists, which share their logic.
template <typename Mng>
class PtcListTyped : public ::testing::Test {};
using Lists = ::testing::Types<PTCListMng, PtcOBUListMng, PtcRSUListMng>;
TYPED_TEST_SUITE(PtcListTyped, Lists);

TYPED_TEST(PtcListTyped, AgeingDropsOnlyRecordsOlderThanTwoSeconds)
{
    using Rec = typename TypeParam::Tool::Rec;
    Seg<TypeParam> list(true);
    const double ages[] = {1.9, 2.1, 0.0, 2.5, 1.0};
    double now = TimeTool::getPreciseTimeNow();
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(insertNumber(list, i), 2);
        TypeParam::Tool::at(list.raw(), i)->latestRefreshTime = now - ages[i];
    }
    ASSERT_EQ(list.operateSHMNotSafe(TypeParam::refreshList, nullptr), 1);
    std::vector<Rec> kept;
    ASSERT_EQ(TypeParam::Tool::update(list, &kept), 1);
    ASSERT_EQ(kept.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(copyOf(kept[i].gnss.speed), 2.0f * i);  // the fresh ones, in order: 0, 2 and 4
    }

    // The limit itself is fresh; the smallest step beyond it is not.
    const double stamp = 1700000000.25;
    for (double now2 : {stamp + 2.0, std::nextafter(stamp + 2.0, 1e10)}) {
        typename TypeParam::Tool::Image image;
        image.list.count = 1;
        image.list.items[0].latestRefreshTime = stamp;
        TypeParam::Tool::refreshAt(&image, now2);
        EXPECT_EQ(image.list.count, now2 == stamp + 2.0 ? 1 : 0);
    }
}

TYPED_TEST(PtcListTyped, FullListTakesOneRecordPastTheArrayAndNoMore)
{
    using Rec = typename TypeParam::Tool::Rec;
    constexpr int CAP = TypeParam::CAPACITY;
    constexpr int REACH = TypeParam::Tool::REACH;
    Seg<TypeParam> list(true);
    for (int i = 0; i <= CAP; ++i) {
        ASSERT_EQ(insertNumber(list, i), 2) << i;
    }
    EXPECT_EQ(list.storedCount(), CAP + 1);
    Bytes before = bytesOf(list.raw(), REACH);
    EXPECT_EQ(insertNumber(list, CAP + 1), -1);
    EXPECT_EQ(bytesOf(list.raw(), REACH), before) << "a refused insert changes nothing";
    EXPECT_EQ(insertNumber(list, CAP), 1) << "the record past the array is found";
    std::vector<Rec> all;
    ASSERT_EQ(TypeParam::Tool::update(list, &all), 1);
    ASSERT_EQ(all.size(), (size_t)CAP + 1);
    EXPECT_EQ(copyOf(all[CAP].gnss.speed), (float)CAP);
    ASSERT_EQ(list.operateSHMNotSafe(TypeParam::refreshList, nullptr), 1);
    EXPECT_EQ(list.storedCount(), CAP + 1) << "ageing keeps it too";

}

TYPED_TEST(PtcListTyped, DamagedCountIsBoundedByEveryone)
{
    using Rec = typename TypeParam::Tool::Rec;
    constexpr int CAP = TypeParam::CAPACITY;
    Seg<TypeParam> list(true);
    // count, records seen, insert's answer
    int cases[][3] = {{-5, 0, 2}, {CAP + 2, CAP + 1, -1}, {0x7FFFFFFF, CAP + 1, -1}};
    int fresh = CAP + 10;
    for (const auto& c : cases) {
        list.setCount(c[0]);
        std::vector<Rec> got;
        EXPECT_EQ(TypeParam::Tool::update(list, &got), 1);
        EXPECT_EQ(got.size(), (size_t)c[1]) << c[0];
        EXPECT_EQ(insertNumber(list, fresh++), c[2]) << c[0];
    }
}

TEST(PtcIdentifiers, BothCountersWrapTheirOwnWay)
{
    // Local: never 0, the value before the increment.
    PtcLocalIDMng::next_id = 65534;
    auto next = [] { return PtcLocalIDMng::getNextLocalID(); };
    std::vector<unsigned short> local = {next(), next(), next(), next()};  // drawn in this order
    EXPECT_EQ(local, (std::vector<unsigned short>{65534, 65535, 1, 2}));

    // Drawn by several threads at once: every value handed out once.
    PtcLocalIDMng::next_id = 1;
    static unsigned short drawnBy[4][16000];
    std::atomic<bool> go(false);
    std::vector<std::thread> threads;
    for (auto& mine : drawnBy) {
        threads.emplace_back([&mine, &go] {
            while (!go) {
            }
            for (unsigned short& id : mine) {
                id = PtcLocalIDMng::getNextLocalID();
            }
        });
    }
    go = true;
    for (std::thread& t : threads) {
        t.join();
    }
    EXPECT_EQ(std::set<unsigned short>(&drawnBy[0][0], &drawnBy[0][0] + 64000).size(), 64000u);  // fewer than 65535: no wrap

    // Device-wide: 0 is given out, the value after the increment.
    Seg<DevPTCGivenIDMng> given(true);
    uint16_t counter = 65534;
    ASSERT_EQ(given.commit2SHM(&counter, sizeof counter), 1);
    auto draw = [&given] { return given.getPTCGivenID(); };
    std::vector<unsigned short> drawn = {draw(), draw(), draw()};
    EXPECT_EQ(drawn, (std::vector<unsigned short>{65535, 0, 1}));
    memcpy(&counter, given.raw(), sizeof counter);
    EXPECT_EQ(counter, 1);
}

}  // namespace
