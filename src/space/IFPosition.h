#ifndef V2XSHM_SPACE_IFPOSITION_H
#define V2XSHM_SPACE_IFPOSITION_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Position, motion and vehicle-description records. They travel inside
// shared segments and flattened buffers, so each is packed, host order and
// copied byte for byte; constructors set every byte.

#pragma pack(push, 1)

// A geographic point in decimal degrees. The hemisphere letters do not
// change the sign of the numbers; geometry reads longitude and latitude only.
class GeoCoordinates {
public:
    GeoCoordinates();

    char latHemisphere;  // 'N' by default
    char lonHemisphere;  // 'E' by default
    double longitude;    // decimal degrees
    double latitude;     // decimal degrees
    double altitude;     // third coordinate, carried as its filler set it
};

// Base of every record that has a position; adds nothing.
class IF_Position : public GeoCoordinates {
public:
    IF_Position() = default;
};

// A point in the vehicle's own frame.
class CarCoordinates {
public:
    CarCoordinates();

    double x;
    double y;
    double z;
};

// Motion in the plane: heading in radians, 0 = east, counterclockwise.
class Movable2D {
public:
    Movable2D();

    uint16_t time;   // within the minute, ms (second * 1000 + millisecond)
    double heading;  // radians in [0, 2*pi), 0 = east, counterclockwise
    double speed;    // as the fix gives it (m/s)
    double speedX;   // east component: speed * cos(heading)
    double speedY;   // north component: speed * sin(heading)
};

// An object's dimensions; units set by the filler.
class ObjSize {
public:
    ObjSize();

    int32_t width;
    int32_t length;
    int32_t height;
};

// An acceleration set; units set by the filler.
class Accel4Way {
public:
    Accel4Way();

    int32_t longitudinal;
    int32_t lateral;
    int32_t vertical;
    int32_t yawRate;
};

// Brake-system status. By default only the first wheel-brake bit, the one
// meaning "unavailable", is set.
class BrakeSys {
public:
    BrakeSys();

    uint8_t brakePedal;      // brake pedal state
    uint8_t wheelBrakes;     // bit string, first bit = most significant bit
    uint8_t brakeStatus[5];  // further brake status items
};

// Vehicle classification: a class code and 32 bytes kept as filled.
class VehClass {
public:
    VehClass();

    uint8_t classification;
    uint8_t extra[32];
};

#pragma pack(pop)

static_assert(sizeof(GeoCoordinates) == 26, "shared layout changed");
static_assert(offsetof(GeoCoordinates, latHemisphere) == 0, "shared layout changed");
static_assert(offsetof(GeoCoordinates, lonHemisphere) == 1, "shared layout changed");
static_assert(offsetof(GeoCoordinates, longitude) == 2, "shared layout changed");
static_assert(offsetof(GeoCoordinates, latitude) == 10, "shared layout changed");
static_assert(offsetof(GeoCoordinates, altitude) == 18, "shared layout changed");
static_assert(sizeof(IF_Position) == 26, "shared layout changed");
static_assert(sizeof(CarCoordinates) == 24, "shared layout changed");
static_assert(sizeof(Movable2D) == 34, "shared layout changed");
static_assert(offsetof(Movable2D, heading) == 2, "shared layout changed");
static_assert(offsetof(Movable2D, speed) == 10, "shared layout changed");
static_assert(offsetof(Movable2D, speedX) == 18, "shared layout changed");
static_assert(offsetof(Movable2D, speedY) == 26, "shared layout changed");
static_assert(sizeof(ObjSize) == 12, "shared layout changed");
static_assert(sizeof(Accel4Way) == 16, "shared layout changed");
static_assert(sizeof(BrakeSys) == 7, "shared layout changed");
static_assert(offsetof(BrakeSys, wheelBrakes) == 1, "shared layout changed");
static_assert(sizeof(VehClass) == 33, "shared layout changed");
static_assert(std::is_trivially_copyable<GeoCoordinates>::value, "copied with memcpy");
static_assert(std::is_trivially_copyable<Movable2D>::value, "copied with memcpy");

#endif
