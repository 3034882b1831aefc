#include "space/IFPosition.h"

#include <cstring>

GeoCoordinates::GeoCoordinates() : latHemisphere('N'), lonHemisphere('E'), longitude(0.0), latitude(0.0), altitude(0.0) {}

CarCoordinates::CarCoordinates() : x(0.0), y(0.0), z(0.0) {}

Movable2D::Movable2D() : time(0), heading(0.0), speed(0.0), speedX(0.0), speedY(0.0) {}

ObjSize::ObjSize() : width(0), length(0), height(0) {}

Accel4Way::Accel4Way() : longitudinal(0), lateral(0), vertical(0), yawRate(0) {}

BrakeSys::BrakeSys() : brakePedal(0), wheelBrakes(0x80)
{
    memset(brakeStatus, 0, sizeof brakeStatus);
}

VehClass::VehClass() : classification(0)
{
    memset(extra, 0, sizeof extra);
}
