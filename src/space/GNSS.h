#ifndef V2XSHM_SPACE_GNSS_H
#define V2XSHM_SPACE_GNSS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"
#include "shm/TimeBase.h"
#include "space/IFPosition.h"

#pragma pack(push, 1)
// One satellite-navigation fix with the plane motion derived from it. The
// refresh time says when the fix was stored; the prediction measures the
// fix's age from it. Embedded in participant records and in the trace, so it
// is a packed host-order image copied byte for byte.
class GNSS : public IF_Refreshable {
public:
    // Everything zero except the hemisphere letters 'N'/'E' and precision 99.0.
    GNSS();

    // Derives `motion` from the fix: time within the minute in ms, heading
    // turned from degrees clockwise from north into radians counterclockwise
    // from east in [0, 2*pi), speed and its east and north components.
    void refreshMovable2D();
    // Writes into out's longitude and latitude the position reached now when
    // driving straight on at `speed` and `heading` since the refresh time.
    // out's hemisphere letters and third value keep what the caller put there.
    // Reads speed and heading directly; refreshMovable2D need not have run.
    void predictPresentGeoCoordinates(GeoCoordinates* out);
    // The same prediction for a fix `dt` seconds old; predictPresentGeoCoordinates
    // uses the age since the refresh time.
    void predictGeoCoordinatesAfter(double dt, GeoCoordinates* out) const;

    TimeBase time;           // date and time of the fix
    GeoCoordinates position; // decimal degrees
    float speed;             // ground speed, m/s
    float heading;           // degrees clockwise from north
    float gnssValue1;        // carried as the receiver's reader filled it
    float gnssValue2;        // carried as filled
    uint8_t gnssFlags[3];    // carried as filled
    float precision;         // precision figure; 99.0 means none
    Movable2D motion;        // derived by refreshMovable2D
};
#pragma pack(pop)

static_assert(sizeof(GNSS) == 105, "shared layout changed");
static_assert(offsetof(GNSS, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(GNSS, time) == 8, "shared layout changed");
static_assert(offsetof(GNSS, position) == 22, "shared layout changed");
static_assert(offsetof(GNSS, speed) == 48, "shared layout changed");
static_assert(offsetof(GNSS, heading) == 52, "shared layout changed");
static_assert(offsetof(GNSS, gnssValue1) == 56, "shared layout changed");
static_assert(offsetof(GNSS, gnssValue2) == 60, "shared layout changed");
static_assert(offsetof(GNSS, gnssFlags) == 64, "shared layout changed");
static_assert(offsetof(GNSS, precision) == 67, "shared layout changed");
static_assert(offsetof(GNSS, motion) == 71, "shared layout changed");
static_assert(std::is_trivially_copyable<GNSS>::value, "copied with memcpy");

#endif
