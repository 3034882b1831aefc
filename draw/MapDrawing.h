#ifndef V2XSHM_DRAW_MAPDRAWING_H
#define V2XSHM_DRAW_MAPDRAWING_H

#include <string>
#include <vector>

#include "MapPicture.h"
#include "MapProjection.h"
#include "MapScene.h"
#include "SvgWriter.h"
#include "v2xshm-unit/ApproachSignal.h"

// The pieces of the picture, drawn in layers by MapPicture.cpp: roads and
// signals (MapRoads.cpp), what moves and what is announced on them
// (MapOverlay.cpp), the scale, north arrow and legend (MapLegend.cpp).

namespace drawing {

// The picture's layout in pixels: the square map on the left, the legend
// panel on its right.
constexpr double MAP_SIDE = 900.0;
constexpr double PANEL_WIDTH = 330.0;
constexpr double PICTURE_WIDTH = MAP_SIDE + PANEL_WIDTH;
constexpr double PICTURE_HEIGHT = MAP_SIDE;
// Metres of road per lane, as the location search counts a link's reach.
constexpr double DRAW_LANE_WIDTH = 3.5;

// A block of text or a mark in the picture, in pixels.
struct LabelBox {
    double left, top, right, bottom;
};

// One line of a label and its style class ("halo", "halo small", "halo head").
struct LabelLine {
    std::string text;
    std::string cls;
};

struct DrawContext {
    const MapScene& scene;
    const DrawOptions& options;
    double now;
    MapProjection projection;
    SvgWriter& svg;
    std::string centreKind;  // "vehicle", "node" or "map"
    std::vector<LabelBox> taken;  // what labels keep clear of
};

// Keeps labels placed later clear of `box`.
void reserve(DrawContext& ctx, const LabelBox& box);
// Writes `lines` beside a mark of radius `r` at `at`: in the first place
// around it (right, left, below, above, then further out) where the block
// stays in the map and overlaps nothing reserved, else on its right; the
// block is reserved. `attrs` go to the first line.
void placeLabel(DrawContext& ctx, PixelPoint at, double r, const std::vector<LabelLine>& lines,
                const SvgAttrs& attrs = {});
// Reserves the marks of the vehicle, the participants, targets, road-side
// information and nodes before any label is placed.
void reserveMarks(DrawContext& ctx);

// "x,y x,y ..." of the points, projected.
template <typename Points>
std::string pixelList(const MapProjection& projection, const Points& points)
{
    std::string out;
    for (const auto& p : points) {
        GeoCoordinates g = p;
        PixelPoint px = projection.toPixel(g);
        out += (out.empty() ? "" : " ") + svgNum(px.x) + "," + svgNum(px.y);
    }
    return out;
}

// The colour class of a light code: "red", "amber", "green", "dark" or
// "unknown" (also for no light at all).
const char* lightClass(uint8_t code, bool known);
// The text of a name field that need not be terminated.
std::string fieldText(const char* field, size_t size);
// At most `chars` characters of UTF-8 text, "..." appended when cut.
std::string shortText(const std::string& text, size_t chars);
// True when the node or one of its links' points lies in the drawn square.
bool nodeInReach(const MapProjection& projection, const LMNodeExtend& node);
// The state of the phase `phaseId` of the light of `nodeId`, now; not known
// when no light or no such phase is listed. `listed` tells a light is there.
PhaseNow phaseStateOf(const MapScene& scene, int64_t nodeId, uint8_t phaseId, double now, bool* listed);
// Seconds as the count-down shows them: whole, rounded up.
std::string countdownText(double seconds);
// The vehicle's compass heading as the search's angle (radians from east,
// counterclockwise).
double headingRadians(float compassDegrees);
// "12.3 m, 45° right" from a distance in metres and an angle in radians
// (positive to the right).
std::string distanceBearingText(double metres, double angle);

void drawRoads(DrawContext& ctx);
void drawLocatedLink(DrawContext& ctx);
void drawMovements(DrawContext& ctx);
void drawNodes(DrawContext& ctx);
void drawRoadSideInfo(DrawContext& ctx);
void drawTraffic(DrawContext& ctx);
void drawVehicle(DrawContext& ctx);
void drawFurniture(DrawContext& ctx);
void drawLegend(DrawContext& ctx);

}  // namespace drawing

#endif
