#ifndef V2XSHM_DRAW_MAPPROJECTION_H
#define V2XSHM_DRAW_MAPPROJECTION_H

#include "space/IFPosition.h"

// From longitude and latitude to the picture's pixels: the point's east and
// north offsets in metres on the local plane around the centre (the same
// flat earth the location search uses), scaled to pixels, north up.

struct PixelPoint {
    double x = 0.0;  // pixels right of the picture's left edge
    double y = 0.0;  // pixels down from its top edge
};

// Metres east and north of the centre.
struct PlanePoint {
    double east = 0.0;
    double north = 0.0;
};

class MapProjection {
public:
    // A square of `sidePixels` whose top-left corner is at (left, top),
    // showing `aroundMetres` each way from `centre`.
    MapProjection(const GeoCoordinates& centre, double aroundMetres, double sidePixels, double left, double top);

    PlanePoint toPlane(const GeoCoordinates& point) const;
    PixelPoint toPixel(const PlanePoint& point) const;
    PixelPoint toPixel(const GeoCoordinates& point) const { return toPixel(toPlane(point)); }
    // True when the point lies within the square (the drawn area).
    bool inside(const PlanePoint& point) const;
    bool inside(const GeoCoordinates& point) const { return inside(toPlane(point)); }
    // The distance from the centre, in metres, at which points are drawn.
    double around() const { return around_; }
    double pixelsPerMetre() const { return scale_; }
    // The square's centre in pixels.
    PixelPoint centrePixel() const { return {centreX_, centreY_}; }

private:
    GeoCoordinates centre_;
    double around_;
    double scale_;
    double centreX_;
    double centreY_;
};

#endif
