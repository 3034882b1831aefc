// What moves on the roads and what is announced on them: road-side
// information at its reference points, participants and targets with their
// distance and bearing, the vehicle with its trace, the located link and the
// distance left to its stop line.
#include <algorithm>
#include <cmath>

#include "MapDrawing.h"
#include "space/SpaceToolGeo.h"

namespace drawing {

namespace {

constexpr size_t TRACE_FIXES = 300;  // newest fixes of the trace drawn
constexpr double TRACE_JUMP = 50.0;  // metres between two fixes that break the trace
constexpr size_t RSI_TEXT_CHARS = 38;

std::string pair(PixelPoint p)
{
    return svgNum(p.x) + "," + svgNum(p.y);
}

// The located link of the scene, or null when none is published or it is
// not in the map.
const LMLinkExtend* locatedLink(const MapScene& scene, const LMNodeExtend** node)
{
    if (!scene.located) {
        return nullptr;
    }
    // Keys copied out of the packed record before the look-ups take them by reference.
    int64_t nodeId = scene.location.nodeId;
    int64_t upstreamNodeId = scene.location.upstreamNodeId;
    auto n = scene.nodes.find(nodeId);
    if (n == scene.nodes.end()) {
        return nullptr;
    }
    auto l = n->second.links.find(upstreamNodeId);
    if (l == n->second.links.end()) {
        return nullptr;
    }
    *node = &n->second;
    return &l->second;
}

// Where a road-side record's mark stands: at its position, or at its first
// reference point in the picture when the position lies outside; false when
// neither is in the picture.
bool rsiAnchor(const MapProjection& projection, const LMRSIExtend& rec, GeoCoordinates* at)
{
    *at = rec.position;
    if (projection.inside(*at)) {
        return true;
    }
    for (const LMPointBase& p : rec.points) {
        if (projection.inside(GeoCoordinates(p))) {
            *at = p;
            return true;
        }
    }
    return false;
}

// A participant or target: a symbol and two lines of text beside it.
void drawMark(DrawContext& ctx, const SvgAttrs& attrs, const GeoCoordinates& at, const std::string& shape,
              const std::string& colour, const std::string& first, const std::string& second)
{
    SvgWriter& svg = ctx.svg;
    PixelPoint p = ctx.projection.toPixel(at);
    svg.open("g", attrs);
    if (shape == "ring") {
        svg.empty("circle", {{"cx", svgNum(p.x)}, {"cy", svgNum(p.y)}, {"r", "13"}, {"fill", "none"},
                             {"stroke", colour}, {"stroke-width", "2"}, {"stroke-dasharray", "4 3"}});
    } else if (shape == "square") {
        svg.empty("rect", {{"x", svgNum(p.x - 6.0)}, {"y", svgNum(p.y - 6.0)}, {"width", "12"}, {"height", "12"},
                           {"fill", colour}, {"stroke", "#ffffff"}, {"stroke-width", "1.5"}});
    } else if (shape == "diamond") {
        svg.empty("path", {{"d", "M" + svgNum(p.x) + "," + svgNum(p.y - 8.0) + " l8,8 l-8,8 l-8,-8 z"},
                           {"fill", colour}, {"stroke", "#ffffff"}, {"stroke-width", "1.5"}});
    } else {
        svg.empty("circle", {{"cx", svgNum(p.x)}, {"cy", svgNum(p.y)}, {"r", "7"}, {"fill", colour},
                             {"stroke", "#ffffff"}, {"stroke-width", "2"}});
    }
    std::vector<LabelLine> lines = {{first, "halo"}};
    if (!second.empty()) {
        lines.push_back({second, "halo small"});
    }
    placeLabel(ctx, p, shape == "ring" ? 14.0 : 8.0, lines);
    svg.close();
}

// Distance and bearing of a participant from the vehicle's fix, as attributes
// and text; nothing when there is no fix.
void fromVehicle(const MapScene& scene, const GeoCoordinates& at, SvgAttrs* attrs, std::string* text)
{
    if (!scene.fixKnown) {
        return;
    }
    GeoCoordinates own = scene.fix.position;
    double distance = SpaceToolGeo::DistancePoint2Point(own, at);
    double angle = SpaceToolGeo::AngleOfTarget(own, headingRadians(scene.fix.heading), at);
    attrs->push_back({"data-distance", svgNum(distance, 1)});
    attrs->push_back({"data-bearing", svgNum(angle * 180.0 / 3.141592653589793, 1)});
    *text = distanceBearingText(distance, angle);
}

template <typename Rec>
void drawParticipant(DrawContext& ctx, const char* list, const Rec& rec, const std::string& name,
                     const std::string& shape, const std::string& colour)
{
    GeoCoordinates at = rec.gnss.position;
    SvgAttrs attrs = {{"class", "participant"}, {"data-list", list}, {"data-id", name}};
    std::string text;
    fromVehicle(ctx.scene, at, &attrs, &text);
    drawMark(ctx, attrs, at, shape, colour, name + " (" + list + ")", text);
}

}  // namespace

void drawRoadSideInfo(DrawContext& ctx)
{
    SvgWriter& svg = ctx.svg;
    svg.open("g", {{"id", "road-side-info"}});
    for (const LMRSIExtend& rec : ctx.scene.rsi) {
        GeoCoordinates at;
        if (!rsiAnchor(ctx.projection, rec, &at)) {
            continue;
        }
        std::string source = fieldText(rec.sourceID, sizeof rec.sourceID);
        std::string info = std::to_string((int)rec.infoID);
        svg.open("g", {{"class", "rsi"}, {"data-source", source}, {"data-info", info}});
        if (rec.points.size() >= 2) {
            svg.empty("polyline", {{"points", pixelList(ctx.projection, rec.points)}, {"fill", "none"},
                                   {"stroke", "#ef6c00"}, {"stroke-width", "3"}, {"stroke-dasharray", "2 4"},
                                   {"stroke-linecap", "round"}});
        }
        for (const LMPointBase& p : rec.points) {
            PixelPoint px = ctx.projection.toPixel(GeoCoordinates(p));
            svg.empty("circle", {{"cx", svgNum(px.x)}, {"cy", svgNum(px.y)}, {"r", "3"}, {"fill", "#ef6c00"}});
        }
        PixelPoint p = ctx.projection.toPixel(at);
        svg.empty("path", {{"d", "M" + svgNum(p.x) + "," + svgNum(p.y - 10.0) + " l10,17 h-20 z"},
                           {"fill", "#ffb300"}, {"stroke", "#bf360c"}, {"stroke-width", "1.5"}});
        svg.text("text", {{"x", svgNum(p.x)}, {"y", svgNum(p.y + 5.0)}, {"text-anchor", "middle"},
                          {"font-weight", "bold"}, {"class", "small"}},
                 "!");
        std::string text = fieldText(rec.text, sizeof rec.text);
        placeLabel(ctx, p, 11.0,
                   {{(source.empty() ? "" : source + "#") + info + ": " + shortText(text, RSI_TEXT_CHARS), "halo"}});
        svg.close();
    }
    svg.close();
}

void drawLocatedLink(DrawContext& ctx)
{
    const LMNodeExtend* node = nullptr;
    const LMLinkExtend* link = locatedLink(ctx.scene, &node);
    if (link == nullptr) {
        return;
    }
    double width = (link->laneNum > 0 ? link->laneNum : 1) * DRAW_LANE_WIDTH * ctx.projection.pixelsPerMetre();
    ctx.svg.empty("polyline", {{"id", "located-link"},
                               {"data-node", std::to_string((long long)node->nodeId)},
                               {"data-upstream", std::to_string((long long)link->upstreamNodeId)},
                               {"points", pixelList(ctx.projection, link->points)},
                               {"fill", "none"},
                               {"stroke", "#1e88e5"},
                               {"stroke-opacity", "0.3"},
                               {"stroke-linejoin", "round"},
                               {"stroke-width", svgNum(std::fmax(width, 4.0) + 8.0)}});
}

void drawTraffic(DrawContext& ctx)
{
    ctx.svg.open("g", {{"id", "traffic"}});
    for (const PTC& p : ctx.scene.ptcs) {
        std::string id = fieldText(p.id, sizeof p.id);
        drawParticipant(ctx, "ptc", p, id.empty() ? "ptc " + std::to_string((unsigned)p.ptcID) : id, "square",
                        "#6d4c41");
    }
    for (const OBU& o : ctx.scene.obus) {
        drawParticipant(ctx, "obu", o, fieldText(o.id, sizeof o.id), "circle", "#8e24aa");
    }
    for (const RSU& r : ctx.scene.rsus) {
        drawParticipant(ctx, "rsu", r, fieldText(r.id, sizeof r.id), "diamond", "#00897b");
    }
    for (const TargetBase& t : ctx.scene.targets) {
        std::string id = fieldText(t.id, sizeof t.id);
        bool far = !(t.distance < TargetBase::DISTANCE_NONE);
        SvgAttrs attrs = {{"class", "target"}, {"data-id", id},
                          {"data-distance", far ? "" : svgNum(t.distance, 1)},
                          {"data-bearing", svgNum(t.angle * 180.0 / 3.141592653589793, 1)}};
        GeoCoordinates at = t.gnss.position;
        drawMark(ctx, attrs, at, "ring", "#e53935",
                 "target " + std::to_string((unsigned)t.localID) + (id.empty() ? "" : " " + id),
                 far ? "far away" : distanceBearingText(t.distance, t.angle));
    }
    ctx.svg.close();
}

void drawVehicle(DrawContext& ctx)
{
    const MapScene& scene = ctx.scene;
    SvgWriter& svg = ctx.svg;
    // The newest fixes, oldest first; a jump (a fix from elsewhere) starts a
    // new piece of the line.
    std::string path;
    PlanePoint last;
    for (size_t i = std::min(scene.trace.size(), TRACE_FIXES); i-- > 0;) {
        if (scene.trace[i].getLatestRefreshTime() == 0.0) {
            continue;
        }
        PlanePoint at = ctx.projection.toPlane(GeoCoordinates(scene.trace[i].position));
        bool jump = path.empty() || std::hypot(at.east - last.east, at.north - last.north) > TRACE_JUMP;
        path += (path.empty() ? "M" : (jump ? " M" : " L")) + pair(ctx.projection.toPixel(at));
        last = at;
    }
    if (!path.empty()) {
        svg.empty("path", {{"id", "trace"}, {"d", path}, {"fill", "none"},
                               {"stroke", "#1565c0"}, {"stroke-width", "2"}, {"stroke-opacity", "0.7"},
                               {"stroke-dasharray", "1 3"}, {"stroke-linecap", "round"}});
    }
    if (!scene.fixKnown) {
        return;
    }
    PixelPoint car = ctx.projection.toPixel(GeoCoordinates(scene.fix.position));
    float speed = scene.fix.speed;
    std::vector<LabelLine> label = {{"vehicle " + svgNum(speed * 3.6, 0) + " km/h", "halo head"}};
    const LMNodeExtend* node = nullptr;
    const LMLinkExtend* link = locatedLink(scene, &node);
    if (link != nullptr && !link->points.empty()) {
        PixelPoint stop = ctx.projection.toPixel(GeoCoordinates(link->points.back()));
        double metres = scene.location.dis2StopLine;
        svg.open("g", {{"id", "stop-distance"}, {"data-metres", svgNum(metres, 1)}});
        svg.empty("line", {{"x1", svgNum(car.x)}, {"y1", svgNum(car.y)}, {"x2", svgNum(stop.x)},
                           {"y2", svgNum(stop.y)}, {"stroke", "#0d47a1"}, {"stroke-width", "2"},
                           {"stroke-dasharray", "6 4"}});
        svg.close();
        label.push_back({svgNum(metres, 1) + " m to the stop line", "halo head"});
    }
    svg.open("g", {{"id", "vehicle"},
                   {"transform", "translate(" + pair(car) + ") rotate(" + svgNum(scene.fix.heading, 1) + ")"},
                   {"data-speed", svgNum(speed, 2)}});
    svg.empty("path", {{"d", "M0,-16 L10,11 L0,5 L-10,11 z"}, {"fill", "#1565c0"}, {"stroke", "#ffffff"},
                       {"stroke-width", "2"}, {"stroke-linejoin", "round"}});
    svg.close();
    placeLabel(ctx, car, 16.0, label, {{"id", "vehicle-label"}});
}

void reserveMarks(DrawContext& ctx)
{
    const MapScene& scene = ctx.scene;
    const MapProjection& proj = ctx.projection;
    auto around = [&](GeoCoordinates at, double r) {
        PixelPoint p = proj.toPixel(at);
        reserve(ctx, {p.x - r, p.y - r, p.x + r, p.y + r});
    };
    if (scene.fixKnown) {
        around(scene.fix.position, 17.0);
    }
    for (const PTC& p : scene.ptcs) {
        around(p.gnss.position, 9.0);
    }
    for (const OBU& o : scene.obus) {
        around(o.gnss.position, 9.0);
    }
    for (const RSU& r : scene.rsus) {
        around(r.gnss.position, 9.0);
    }
    for (const TargetBase& t : scene.targets) {
        around(t.gnss.position, 15.0);
    }
    for (const LMRSIExtend& rec : scene.rsi) {
        GeoCoordinates at;
        if (rsiAnchor(proj, rec, &at)) {
            around(at, 11.0);
        }
    }
    for (const auto& n : scene.nodes) {
        around(n.second, 8.0);
    }
}

}  // namespace drawing
