// The vehicle status image, the withdrawal of bus-sourced items and the
// disabled-vehicle event on the live segment.
#include "status/VehStatus.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

#include "status/VehStatusMng.h"
#include "support/ProcessHelpers.h"

namespace {

std::vector<unsigned char> bytesOf(const void* p, size_t n)
{
    const unsigned char* b = static_cast<const unsigned char*>(p);
    return std::vector<unsigned char>(b, b + n);
}

// Every item filled with a recognisable value and every marker set to `src`.
VehStatus filled(uint8_t src)
{
    VehStatus s;
    s.latestRefreshTime = 1700000000.25;
    s.transmission = 2;
    s.item1 = 0x11111111;
    s.item2 = -2;
    s.item3 = 0x33333333;
    s.accelSet.longitudinal = 100;
    s.accelSet.lateral = -200;
    s.accelSet.vertical = 300;
    s.accelSet.yawRate = -400;
    s.brakes.brakePedal = 1;
    s.brakes.wheelBrakes = 0x40;
    s.brakes.brakeStatus[4] = 9;
    s.eventFlags[0] = 0xA5;
    s.eventFlags[1] = 0x5A;
    s.item4 = 0xBEEF;
    s.transmissionSource = s.item1Source = s.item2Source = s.item3Source = src;
    s.accelSetSource = s.brakesSource = s.eventFlagsSource = s.item4Source = src;
    return s;
}

TEST(VehStatus, DefaultByteImage)
{
    std::vector<unsigned char> expected(56, 0);
    expected[8] = 7;     // transmission unavailable
    expected[43] = 0x80; // brake status: only the "unavailable" wheel-brake bit
    VehStatus s;
    EXPECT_EQ(bytesOf(&s, sizeof s), expected);
}

TEST(VehStatus, DefaultBrakeSysByteImage)
{
    BrakeSys b;
    std::vector<unsigned char> expected = {0x00, 0x80, 0x00, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(bytesOf(&b, sizeof b), expected);
}

TEST(VehStatus, RecoveryWithdrawsOnlyBusItems)
{
    VehStatus s = filled(VehStatus::SOURCE_BUS);
    s.revoverCANOBD2Unavailable();

    VehStatus expected = filled(VehStatus::SOURCE_NONE);
    expected.transmission = 7;
    expected.item1 = expected.item2 = expected.item3 = 0;
    expected.eventFlags[0] = expected.eventFlags[1] = 0;
    expected.item4 = 0;
    // The acceleration set, the brake status and the refresh time stay.
    EXPECT_EQ(bytesOf(&s, sizeof s), bytesOf(&expected, sizeof expected));
}

TEST(VehStatus, RecoveryLeavesOtherMarkersAlone)
{
    for (uint8_t src : {0, 2, 3, 4, 255}) {
        VehStatus s = filled(src);
        VehStatus before = s;
        s.revoverCANOBD2Unavailable();
        EXPECT_EQ(bytesOf(&s, sizeof s), bytesOf(&before, sizeof before)) << (int)src;
    }
}

TEST(VehStatus, RecoveryActsItemByItem)
{
    // One item from the bus at a time; the rest set by hand.
    struct {
        const char* name;
        uint8_t VehStatus::*marker;
        int firstByte, width;  // value bytes cleared (width 0: kept)
    } items[] = {
        {"item1", &VehStatus::item1Source, 10, 4},
        {"item2", &VehStatus::item2Source, 15, 4},
        {"item3", &VehStatus::item3Source, 20, 4},
        {"accelSet", &VehStatus::accelSetSource, 25, 0},
        {"brakes", &VehStatus::brakesSource, 42, 0},
        {"eventFlags", &VehStatus::eventFlagsSource, 50, 2},
        {"item4", &VehStatus::item4Source, 53, 2},
    };
    for (const auto& item : items) {
        VehStatus s = filled(VehStatus::SOURCE_MANUAL);
        s.*item.marker = VehStatus::SOURCE_BUS;
        std::vector<unsigned char> expected = bytesOf(&s, sizeof s);
        for (int i = 0; i < item.width; ++i) {
            expected[item.firstByte + i] = 0;
        }
        expected[(const char*)&(s.*item.marker) - (const char*)&s] = 0;
        s.revoverCANOBD2Unavailable();
        EXPECT_EQ(bytesOf(&s, sizeof s), expected) << item.name;
    }
}

TEST(VehStatus, DisabledEventOnTheLiveSegmentKeepsOtherBits)
{
    VehStatusMng owner(true);
    VehStatus start = filled(VehStatus::SOURCE_BUS);
    start.eventFlags[0] = 0xA5;
    start.eventFlags[1] = 0x2B;  // disabled bit (0x10) clear
    ASSERT_EQ(owner.commit2SHM(&start, sizeof start), 1);

    // Raised from another process, as the unit's control process does.
    pid_t child = forkChild([] {
        VehStatusMng other(false);
        int on = 1;
        return other.operateSHMNotSafe(VehStatusMng::setVehDisabledInSHM, &on) == 1 ? 0 : 1;
    });
    ASSERT_EQ(waitChild(child), 0);
    ASSERT_EQ(owner.update(), 1);
    std::vector<unsigned char> expected = bytesOf(&start, sizeof start);
    expected[51] = 0x3B;
    expected[52] = 3;
    EXPECT_EQ(bytesOf(&owner.status, sizeof owner.status), expected);

    // Raising twice changes nothing more; the bus withdrawal keeps it.
    int on = 7;
    ASSERT_EQ(owner.operateSHMNotSafe(VehStatusMng::setVehDisabledInSHM, &on), 1);
    ASSERT_EQ(owner.update(), 1);
    EXPECT_EQ(bytesOf(&owner.status, sizeof owner.status), expected);
    owner.status.revoverCANOBD2Unavailable();
    EXPECT_EQ(owner.status.eventFlags[1], 0x3B);
    EXPECT_EQ(owner.status.eventFlagsSource, VehStatus::SOURCE_MANUAL);

    int off = 0;
    ASSERT_EQ(owner.operateSHMNotSafe(VehStatusMng::setVehDisabledInSHM, &off), 1);
    ASSERT_EQ(owner.update(), 1);
    expected[51] = 0x2B;
    expected[52] = 0;
    EXPECT_EQ(bytesOf(&owner.status, sizeof owner.status), expected);

    // Clearing an already clear bit keeps the others too.
    start.eventFlags[1] = 0xEF;
    ASSERT_EQ(owner.commit2SHM(&start, sizeof start), 1);
    ASSERT_EQ(owner.operateSHMNotSafe(VehStatusMng::setVehDisabledInSHM, &off), 1);
    ASSERT_EQ(owner.update(), 1);
    EXPECT_EQ(owner.status.eventFlags[0], 0xA5);
    EXPECT_EQ(owner.status.eventFlags[1], 0xEF);

    EXPECT_EQ(owner.operateSHMNotSafe(VehStatusMng::setVehDisabledInSHM, nullptr), -1);
}

}  // namespace
