#include "MapProjection.h"

#include <cmath>

#include "space/SpaceToolGeo.h"

MapProjection::MapProjection(const GeoCoordinates& centre, double aroundMetres, double sidePixels, double left,
                             double top)
    : centre_(centre),
      around_(aroundMetres),
      scale_(sidePixels / (2.0 * aroundMetres)),
      centreX_(left + sidePixels / 2.0),
      centreY_(top + sidePixels / 2.0)
{
}

PlanePoint MapProjection::toPlane(const GeoCoordinates& point) const
{
    PlanePoint p;
    SpaceToolGeo::VectorInPlaneCoordinates(centre_, point, &p.east, &p.north);
    return p;
}

PixelPoint MapProjection::toPixel(const PlanePoint& point) const
{
    // North up: the picture's y grows downwards.
    return {centreX_ + point.east * scale_, centreY_ - point.north * scale_};
}

bool MapProjection::inside(const PlanePoint& point) const
{
    return std::fabs(point.east) <= around_ && std::fabs(point.north) <= around_;
}
