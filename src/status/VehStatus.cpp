#include "status/VehStatus.h"

VehStatus::VehStatus()
    : transmission(TRANSMISSION_UNAVAILABLE), transmissionSource(SOURCE_NONE),
      item1(0), item1Source(SOURCE_NONE),
      item2(0), item2Source(SOURCE_NONE),
      item3(0), item3Source(SOURCE_NONE),
      accelSetSource(SOURCE_NONE),
      brakesSource(SOURCE_NONE),
      eventFlags{0, 0}, eventFlagsSource(SOURCE_NONE),
      item4(0), item4Source(SOURCE_NONE)
{
}

void VehStatus::revoverCANOBD2Unavailable()
{
    if (transmissionSource == SOURCE_BUS) {
        transmission = TRANSMISSION_UNAVAILABLE;
        transmissionSource = SOURCE_NONE;
    }
    if (item1Source == SOURCE_BUS) {
        item1 = 0;
        item1Source = SOURCE_NONE;
    }
    if (item2Source == SOURCE_BUS) {
        item2 = 0;
        item2Source = SOURCE_NONE;
    }
    if (item3Source == SOURCE_BUS) {
        item3 = 0;
        item3Source = SOURCE_NONE;
    }
    // The acceleration set and the brake status keep their last values; only
    // their source is withdrawn.
    if (accelSetSource == SOURCE_BUS) {
        accelSetSource = SOURCE_NONE;
    }
    if (brakesSource == SOURCE_BUS) {
        brakesSource = SOURCE_NONE;
    }
    if (eventFlagsSource == SOURCE_BUS) {
        eventFlags[0] = 0;
        eventFlags[1] = 0;
        eventFlagsSource = SOURCE_NONE;
    }
    if (item4Source == SOURCE_BUS) {
        item4 = 0;
        item4Source = SOURCE_NONE;
    }
}
