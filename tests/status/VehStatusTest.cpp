// The vehicle status image and the withdrawal of bus-sourced items. The
// disabled-vehicle event bit is set and cleared from other processes in
// tests/space/SpaceToolCommandsTest.sh.
#include "status/VehStatus.h"

#include <cstring>
#include <gtest/gtest.h>

#include "support/ByteImage.h"

namespace {

// Every byte 0xA5 but the markers, all set to `src`.
VehStatus filled(uint8_t src)
{
    VehStatus s;
    memset((void*)&s, 0xA5, sizeof s);
    s.transmissionSource = s.item1Source = s.item2Source = s.item3Source = src;
    s.accelSetSource = s.brakesSource = s.eventFlagsSource = s.item4Source = src;
    return s;
}

TEST(VehStatus, DefaultByteImage)
{
    Bytes expected(56, 0);
    expected[8] = 7;      // transmission unavailable
    expected[43] = 0x80;  // wheel brakes: only the "unavailable" bit
    EXPECT_EQ(freshImage<VehStatus>(), expected);
}

TEST(VehStatus, RecoveryWithdrawsEachBusItemAlone)
{
    // The item, its marker, and the value bytes reset (width 0: kept).
    struct { const char* name; uint8_t VehStatus::*marker; int firstByte, width, unavailable; } items[] = {
        {"transmission", &VehStatus::transmissionSource, 8, 1, 7},
        {"item1", &VehStatus::item1Source, 10, 4, 0},
        {"item2", &VehStatus::item2Source, 15, 4, 0},
        {"item3", &VehStatus::item3Source, 20, 4, 0},
        {"accelSet", &VehStatus::accelSetSource, 25, 0, 0},
        {"brakes", &VehStatus::brakesSource, 42, 0, 0},
        {"eventFlags", &VehStatus::eventFlagsSource, 50, 2, 0},
        {"item4", &VehStatus::item4Source, 53, 2, 0},
    };
    for (const auto& item : items) {
        VehStatus s = filled(VehStatus::SOURCE_MANUAL);
        s.*item.marker = VehStatus::SOURCE_BUS;
        Bytes expected = bytesOf(&s, sizeof s);
        for (int i = 0; i < item.width; ++i) {
            expected[item.firstByte + i] = (uint8_t)item.unavailable;
        }
        expected[(const char*)&(s.*item.marker) - (const char*)&s] = VehStatus::SOURCE_NONE;
        s.revoverCANOBD2Unavailable();
        EXPECT_EQ(bytesOf(&s, sizeof s), expected) << item.name;
    }
}

}  // namespace
