#include "MapPicture.h"

#include <cmath>
#include <exception>

#include "MapDrawing.h"
#include "space/SpaceToolGeo.h"

namespace drawing {

namespace {

constexpr double PI = 3.141592653589793;

// The style sheet: text with a light halo, legible on roads and grass alike.
const char* const STYLE =
    "<style>\n"
    "text{font-family:'DejaVu Sans',Verdana,Arial,sans-serif;font-size:13px;fill:#212121}\n"
    ".halo{paint-order:stroke;stroke:#ffffff;stroke-width:3px;stroke-linejoin:round}\n"
    ".small{font-size:11px}.title{font-size:17px;font-weight:bold}.head{font-size:14px;font-weight:bold}\n"
    ".road{fill:none;stroke:#c9c9c9;stroke-linecap:butt;stroke-linejoin:round}\n"
    ".lane{fill:none;stroke:#ffffff;stroke-width:1;stroke-dasharray:6 5}\n"
    ".centre{fill:none;stroke:#7a7a7a;stroke-width:1}\n"
    ".stop-line{stroke:#ffffff;stroke-width:3}\n"
    ".movement{fill:none;stroke-width:2.5}\n"
    ".red{stroke:#d32f2f;fill:#d32f2f}.amber{stroke:#f9a825;fill:#f9a825}.green{stroke:#2e7d32;fill:#2e7d32}\n"
    ".dark{stroke:#424242;fill:#424242}.unknown{stroke:#9e9e9e;fill:#9e9e9e}\n"
    ".movement.red,.movement.amber,.movement.green,.movement.dark,.movement.unknown{fill:none}\n"
    ".badge-text{fill:#ffffff;stroke:none;font-size:11px;font-weight:bold}\n"
    "</style>\n";

// Arrow heads, one per light colour (a marker takes no colour from its line).
std::string markers()
{
    static const char* const COLOURS[][2] = {
        {"red", "#d32f2f"}, {"amber", "#f9a825"}, {"green", "#2e7d32"}, {"dark", "#424242"}, {"unknown", "#9e9e9e"}};
    std::string defs = "<defs>\n";
    for (const auto& c : COLOURS) {
        defs += std::string("<marker id=\"head-") + c[0] +
                "\" viewBox=\"0 0 10 10\" refX=\"8\" refY=\"5\" markerWidth=\"4\" markerHeight=\"4\" "
                "orient=\"auto\"><path d=\"M0,0 L10,5 L0,10 z\" fill=\"" +
                c[1] + "\"/></marker>\n";
    }
    defs += "<clipPath id=\"map-area\"><rect x=\"0\" y=\"0\" width=\"" + svgNum(MAP_SIDE, 0) + "\" height=\"" +
            svgNum(MAP_SIDE, 0) + "\"/></clipPath>\n</defs>\n";
    return defs;
}

// Where the picture is centred: the node asked for, else the vehicle's fix,
// else the located node, else the first node. False when the node asked
// for is not in the list.
bool chooseCentre(const MapScene& scene, const DrawOptions& options, GeoCoordinates* centre, std::string* kind)
{
    if (options.nodeId >= 0) {
        auto it = scene.nodes.find(options.nodeId);
        if (it == scene.nodes.end()) {
            return false;
        }
        *centre = it->second;
        *kind = "node";
        return true;
    }
    if (scene.fixKnown) {
        *centre = scene.fix.position;
        *kind = "vehicle";
        return true;
    }
    int64_t locatedId = scene.location.nodeId;  // out of the packed record
    auto located = scene.located ? scene.nodes.find(locatedId) : scene.nodes.end();
    if (located == scene.nodes.end()) {
        located = scene.nodes.begin();
    }
    if (located != scene.nodes.end()) {
        *centre = located->second;
    }
    *kind = "map";
    return true;
}

// The picture that says the node list is absent.
std::string absentPicture(double now)
{
    SvgWriter svg(PICTURE_WIDTH, PICTURE_HEIGHT, {{"data-now", svgNum(now, 3)}, {"data-map", "absent"}});
    svg.raw(STYLE);
    svg.empty("rect", {{"x", "0"}, {"y", "0"}, {"width", svgNum(PICTURE_WIDTH, 0)},
                       {"height", svgNum(PICTURE_HEIGHT, 0)}, {"fill", "#f5f3ee"}});
    svg.text("text", {{"id", "no-map"}, {"class", "title"}, {"x", "40"}, {"y", "60"}},
             "No local map: the node list has no owner");
    return svg.finish();
}

}  // namespace

const char* lightClass(uint8_t code, bool known)
{
    if (!known) {
        return "unknown";
    }
    switch (code) {
    case LIGHT_DARK: return "dark";
    case LIGHT_FLASHING_RED:
    case LIGHT_RED: return "red";
    case LIGHT_RED_AND_YELLOW:
    case LIGHT_YELLOW_PERMISSIVE:
    case LIGHT_YELLOW_PROTECTED:
    case LIGHT_FLASHING_YELLOW: return "amber";
    case LIGHT_GREEN_PERMISSIVE:
    case LIGHT_GREEN_PROTECTED: return "green";
    default: return "unknown";
    }
}

std::string fieldText(const char* field, size_t size)
{
    size_t n = 0;
    while (n < size && field[n] != '\0') {
        ++n;
    }
    return std::string(field, n);
}

std::string shortText(const std::string& text, size_t chars)
{
    size_t count = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        // Count the first byte of each sequence only, so no character is split.
        if (((unsigned char)text[i] & 0xC0) != 0x80 && count++ == chars) {
            return text.substr(0, i) + "...";
        }
    }
    return text;
}

bool nodeInReach(const MapProjection& projection, const LMNodeExtend& node)
{
    GeoCoordinates at = node;
    if (projection.inside(at)) {
        return true;
    }
    for (const auto& link : node.links) {
        for (const LMPointBase& p : link.second.points) {
            if (projection.inside(GeoCoordinates(p))) {
                return true;
            }
        }
    }
    return false;
}

PhaseNow phaseStateOf(const MapScene& scene, int64_t nodeId, uint8_t phaseId, double now, bool* listed)
{
    *listed = false;
    auto light = scene.lights.find(nodeId);
    if (light == scene.lights.end()) {
        return PhaseNow();
    }
    auto phase = light->second.phases.find(phaseId);
    if (phase == light->second.phases.end()) {
        return PhaseNow();
    }
    *listed = true;
    // A light stamped after `now` is taken as it was received.
    double age = now - light->second.getLatestRefreshTime();
    return phaseNow(phase->second, age > 0.0 ? age : 0.0);
}

std::string countdownText(double seconds)
{
    return svgNum(std::ceil(seconds - 1e-9), 0) + " s";
}

double headingRadians(float compassDegrees)
{
    double angle = (90.0 - (double)compassDegrees) * PI / 180.0;
    angle = std::fmod(angle, 2.0 * PI);
    return angle < 0.0 ? angle + 2.0 * PI : angle;
}

std::string distanceBearingText(double metres, double angle)
{
    double degrees = angle * 180.0 / PI;
    std::string side = std::fabs(degrees) < 0.5 ? "ahead" : (degrees > 0.0 ? "right" : "left");
    return svgNum(metres, 1) + " m, " + svgNum(std::fabs(degrees), 0) + "\xC2\xB0 " + side;
}

namespace {

// Pixels a line of text takes: per character and in height, by its class.
void textMetrics(const std::string& cls, double* perChar, double* height)
{
    bool head = cls.find("head") != std::string::npos;
    bool small = cls.find("small") != std::string::npos;
    *perChar = head ? 8.4 : (small ? 6.5 : 7.6);
    *height = head ? 18.0 : (small ? 14.0 : 16.0);
}

size_t characters(const std::string& text)
{
    size_t n = 0;
    for (char c : text) {
        n += ((unsigned char)c & 0xC0) != 0x80;
    }
    return n;
}

bool overlaps(const LabelBox& a, const LabelBox& b)
{
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

}  // namespace

void reserve(DrawContext& ctx, const LabelBox& box)
{
    ctx.taken.push_back(box);
}

void placeLabel(DrawContext& ctx, PixelPoint at, double r, const std::vector<LabelLine>& lines, const SvgAttrs& attrs)
{
    double w = 0.0, h = 0.0;
    for (const LabelLine& line : lines) {
        double perChar, height;
        textMetrics(line.cls, &perChar, &height);
        w = std::fmax(w, perChar * (double)characters(line.text));
        h += height;
    }
    const double gap = r + 4.0;
    // Top-left corners to try, nearest first.
    std::vector<PixelPoint> places = {{at.x + gap, at.y - h / 2.0},     {at.x - gap - w, at.y - h / 2.0},
                                      {at.x - w / 2.0, at.y + gap},     {at.x - w / 2.0, at.y - gap - h},
                                      {at.x + gap, at.y - gap - h},     {at.x + gap, at.y + gap},
                                      {at.x - gap - w, at.y - gap - h}, {at.x - gap - w, at.y + gap}};
    for (int k = 1; k <= 4; ++k) {
        for (double side : {at.x + gap, at.x - gap - w}) {
            places.push_back({side, at.y + gap + (double)k * (h + 2.0)});
            places.push_back({side, at.y - gap - h - (double)k * (h + 2.0)});
        }
    }
    PixelPoint chosen = places[0];
    for (const PixelPoint& p : places) {
        LabelBox box{p.x, p.y, p.x + w, p.y + h};
        bool inMap = box.left >= 2.0 && box.right <= MAP_SIDE - 2.0 && box.top >= 2.0 && box.bottom <= MAP_SIDE - 2.0;
        bool clear = true;
        for (const LabelBox& t : ctx.taken) {
            clear = clear && !overlaps(box, t);
        }
        if (inMap && clear) {
            chosen = p;
            break;
        }
    }
    reserve(ctx, {chosen.x, chosen.y, chosen.x + w, chosen.y + h});
    double y = chosen.y;
    for (size_t i = 0; i < lines.size(); ++i) {
        double perChar, height;
        textMetrics(lines[i].cls, &perChar, &height);
        y += height;
        SvgAttrs a = {{"class", lines[i].cls}, {"x", svgNum(chosen.x)}, {"y", svgNum(y - height * 0.25)}};
        if (i == 0) {
            a.insert(a.end(), attrs.begin(), attrs.end());
        }
        ctx.svg.text("text", a, lines[i].text);
    }
}

}  // namespace drawing

using namespace drawing;

int drawScene(const MapScene& scene, const DrawOptions& options, double nowSeconds, std::string* svg)
{
    if (svg == nullptr || !(options.aroundMetres > 0.0) || !(options.aroundMetres <= DRAW_MAX_AROUND) ||
        !std::isfinite(nowSeconds)) {
        return -1;
    }
    try {
        if (!scene.mapPresent) {
            *svg = absentPicture(nowSeconds);
            return 0;
        }
        GeoCoordinates centre;
        std::string kind;
        if (!chooseCentre(scene, options, &centre, &kind)) {
            return -2;
        }
        SvgWriter writer(PICTURE_WIDTH, PICTURE_HEIGHT,
                         {{"data-now", svgNum(nowSeconds, 3)},
                          {"data-centre", kind},
                          {"data-around", svgNum(options.aroundMetres, 1)},
                          {"font-family", "sans-serif"}});
        DrawContext ctx{scene,  options, nowSeconds, MapProjection(centre, options.aroundMetres, MAP_SIDE, 0.0, 0.0),
                        writer, kind,    {}};
        reserveMarks(ctx);
        writer.raw(STYLE);
        writer.raw(markers());
        writer.empty("rect", {{"x", "0"}, {"y", "0"}, {"width", svgNum(MAP_SIDE, 0)},
                              {"height", svgNum(MAP_SIDE, 0)}, {"fill", "#eef1e6"}});
        writer.open("g", {{"id", "map"}, {"clip-path", "url(#map-area)"}});
        drawRoads(ctx);
        drawLocatedLink(ctx);
        drawMovements(ctx);
        drawNodes(ctx);
        drawRoadSideInfo(ctx);
        drawTraffic(ctx);
        drawVehicle(ctx);
        writer.close();
        drawFurniture(ctx);
        drawLegend(ctx);
        *svg = writer.finish();
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}

int drawCurrentMap(std::string* svg, const DrawOptions& options, double nowSeconds)
{
    if (svg == nullptr || !(options.aroundMetres > 0.0) || !(options.aroundMetres <= DRAW_MAX_AROUND)) {
        return -1;
    }
    try {
        MapScene scene;
        if (gatherScene(&scene, options.targetKey) < 0) {
            return -1;
        }
        return drawScene(scene, options, nowSeconds, svg);
    } catch (const std::exception&) {
        return -1;
    }
}
