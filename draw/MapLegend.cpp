// The scale bar and north arrow over the map, and the panel beside it: the
// time, the centre, the approach's signal state, the targets, the lists
// left out, and a key to the symbols.
#include <cmath>
#include <ctime>

#include "MapDrawing.h"

namespace drawing {

namespace {

// "2026-11-23 21:05:03.4 UTC"
std::string utcText(double seconds)
{
    double whole = std::floor(seconds);
    time_t t = (time_t)whole;
    struct tm parts;
    char text[64] = "";
    if (gmtime_r(&t, &parts) == nullptr) {
        return svgNum(seconds, 1) + " s";
    }
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    int tenths = (int)std::floor((seconds - whole) * 10.0);
    return std::string(text) + "." + std::to_string(tenths > 9 ? 9 : tenths) + " UTC";
}

// The panel's text lines, written from the top.
class Panel {
public:
    Panel(SvgWriter& svg, double left) : svg_(svg), left_(left) {}
    void line(const std::string& text, const std::string& cls = "", double indent = 0.0)
    {
        y_ += cls == "title" ? 24.0 : (cls == "head" ? 26.0 : 18.0);
        SvgAttrs attrs = {{"x", svgNum(left_ + indent)}, {"y", svgNum(y_)}};
        if (!cls.empty()) {
            attrs.insert(attrs.begin(), {"class", cls});
        }
        svg_.text("text", attrs, text);
    }
    // A line with a symbol drawn by `mark` at its start.
    template <typename Mark>
    void keyed(const std::string& text, Mark mark)
    {
        y_ += 20.0;
        mark(left_ + 10.0, y_ - 4.0);
        svg_.text("text", {{"x", svgNum(left_ + 28.0)}, {"y", svgNum(y_)}}, text);
    }
    double y() const { return y_; }

private:
    SvgWriter& svg_;
    double left_;
    double y_ = 12.0;
};

void approachLines(DrawContext& ctx, Panel& panel)
{
    const MapScene& scene = ctx.scene;
    panel.line("Approach", "head");
    ApproachSignal signal;
    if (!scene.located || evalApproachSignal(scene.nodes, scene.location, scene.lights, ctx.now, &signal) != 1) {
        panel.line(scene.located ? "located link not in the map" : "vehicle not located");
        return;
    }
    const LMLinkExtend& link = scene.nodes.at(signal.nodeId).links.at(signal.upstreamNodeId);
    std::string name = fieldText(link.name, sizeof link.name);
    panel.line("node " + std::to_string((long long)signal.nodeId) + ", link from " +
               std::to_string((long long)signal.upstreamNodeId));
    if (!name.empty()) {
        panel.line(shortText(name, 36), "", 10.0);
    }
    panel.line(svgNum(scene.location.dis2StopLine, 1) + " m to the stop line (located " +
                   svgNum(std::fmax(ctx.now - scene.location.getLatestRefreshTime(), 0.0), 1) + " s ago)",
               "", 10.0);
    panel.line("limit " + svgNum(scene.location.maxSpeed * 3.6, 0) + " km/h", "", 10.0);
    if (!signal.lightReceived) {
        panel.line("no light received for the node", "", 10.0);
    }
    for (const ApproachMovement& m : signal.movements) {
        std::string state = !m.phaseListed ? "phase not listed"
                                           : (m.now.known ? std::string(lightName(m.now.light)) : "no state now");
        if (m.timeKnown()) {
            state += ", " + countdownText(m.now.remaining);
        }
        panel.line("to " + std::to_string((long long)m.remoteNodeId) + " (P" + std::to_string((unsigned)m.phaseId) +
                       "): " + state,
                   "", 10.0);
    }
}

void targetLines(DrawContext& ctx, Panel& panel)
{
    panel.line("Targets", "head");
    if (ctx.scene.targets.empty()) {
        panel.line("none listed");
    }
    size_t shown = 0;
    for (const TargetBase& t : ctx.scene.targets) {
        if (++shown > 8) {
            panel.line("and " + std::to_string(ctx.scene.targets.size() - 8) + " more");
            break;
        }
        std::string id = fieldText(t.id, sizeof t.id);
        panel.line(std::to_string((unsigned)t.localID) + " " + shortText(id, 16) + ": " +
                   (t.distance < TargetBase::DISTANCE_NONE ? distanceBearingText(t.distance, t.angle) : "far away"));
    }
}

void keyLines(DrawContext& ctx, Panel& panel)
{
    SvgWriter& svg = ctx.svg;
    panel.line("Key", "head");
    static const char* const LIGHTS[][2] = {
        {"green", "green: may go"}, {"amber", "yellow"}, {"red", "red"}, {"unknown", "no light or state known"}};
    for (const auto& l : LIGHTS) {
        std::string cls = l[0];
        panel.keyed(std::string("movement, ") + l[1], [&](double x, double y) {
            svg.empty("line", {{"class", "key " + cls}, {"stroke-width", "2.5"}, {"x1", svgNum(x - 8.0)},
                               {"y1", svgNum(y)}, {"x2", svgNum(x + 6.0)}, {"y2", svgNum(y)},
                               {"marker-end", "url(#head-" + cls + ")"}});
        });
    }
    panel.keyed("P2 12 s: phase, seconds to change", [&](double x, double y) {
        svg.empty("rect", {{"class", "green"}, {"x", svgNum(x - 9.0)}, {"y", svgNum(y - 6.0)}, {"width", "18"},
                           {"height", "12"}, {"rx", "3"}});
    });
    panel.keyed("vehicle at its fix, heading", [&](double x, double y) {
        svg.empty("path", {{"d", "M" + svgNum(x) + "," + svgNum(y - 8.0) + " l6,14 l-6,-3 l-6,3 z"},
                           {"fill", "#1565c0"}});
    });
    panel.keyed("located link", [&](double x, double y) {
        svg.empty("rect", {{"x", svgNum(x - 9.0)}, {"y", svgNum(y - 5.0)}, {"width", "18"}, {"height", "10"},
                           {"fill", "#1e88e5"}, {"fill-opacity", "0.3"}});
    });
    panel.keyed("on-board unit / sensed / road-side unit", [&](double x, double y) {
        svg.empty("circle", {{"cx", svgNum(x - 5.0)}, {"cy", svgNum(y)}, {"r", "4"}, {"fill", "#8e24aa"}});
        svg.empty("rect", {{"x", svgNum(x + 1.0)}, {"y", svgNum(y - 4.0)}, {"width", "8"}, {"height", "8"},
                           {"fill", "#6d4c41"}});
    });
    panel.keyed("target (distance, bearing)", [&](double x, double y) {
        svg.empty("circle", {{"cx", svgNum(x)}, {"cy", svgNum(y)}, {"r", "7"}, {"fill", "none"},
                             {"stroke", "#e53935"}, {"stroke-width", "2"}, {"stroke-dasharray", "3 2"}});
    });
    panel.keyed("road-side information", [&](double x, double y) {
        svg.empty("path", {{"d", "M" + svgNum(x) + "," + svgNum(y - 7.0) + " l7,12 h-14 z"}, {"fill", "#ffb300"},
                           {"stroke", "#bf360c"}});
    });
}

}  // namespace

void drawFurniture(DrawContext& ctx)
{
    SvgWriter& svg = ctx.svg;
    double ppm = ctx.projection.pixelsPerMetre();
    // The longest round length that fits in 200 pixels.
    static const double LENGTHS[] = {1, 2, 5, 10, 20, 25, 50, 100, 200, 250, 500, 1000, 2000, 5000};
    double metres = LENGTHS[0];
    for (double l : LENGTHS) {
        if (l * ppm <= 200.0) {
            metres = l;
        }
    }
    double x = 24.0, y = MAP_SIDE - 28.0, w = metres * ppm;
    svg.open("g", {{"id", "scale-bar"}, {"data-metres", svgNum(metres, 0)}});
    svg.empty("rect", {{"x", svgNum(x - 8.0)}, {"y", svgNum(y - 22.0)}, {"width", svgNum(w + 16.0)}, {"height", "36"},
                       {"fill", "#ffffff"}, {"fill-opacity", "0.85"}, {"rx", "4"}});
    svg.empty("path", {{"d", "M" + svgNum(x) + "," + svgNum(y - 6.0) + " v8 h" + svgNum(w) + " v-8"},
                       {"fill", "none"}, {"stroke", "#212121"}, {"stroke-width", "2"}});
    svg.text("text", {{"x", svgNum(x + w / 2.0)}, {"y", svgNum(y - 9.0)}, {"text-anchor", "middle"}},
             svgNum(metres, 0) + " m");
    svg.close();
    svg.open("g", {{"id", "north-arrow"}, {"transform", "translate(40,52)"}});
    svg.empty("circle", {{"r", "24"}, {"fill", "#ffffff"}, {"fill-opacity", "0.85"}, {"stroke", "#9e9e9e"}});
    svg.empty("path", {{"d", "M0,-18 L8,8 L0,3 L-8,8 z"}, {"fill", "#212121"}});
    svg.text("text", {{"class", "head"}, {"x", "0"}, {"y", "20"}, {"text-anchor", "middle"}}, "N");
    svg.close();
}

void drawLegend(DrawContext& ctx)
{
    const MapScene& scene = ctx.scene;
    SvgWriter& svg = ctx.svg;
    svg.open("g", {{"id", "legend"}});
    svg.empty("rect", {{"x", svgNum(MAP_SIDE, 0)}, {"y", "0"}, {"width", svgNum(PANEL_WIDTH, 0)},
                       {"height", svgNum(PICTURE_HEIGHT, 0)}, {"fill", "#ffffff"}});
    svg.empty("line", {{"x1", svgNum(MAP_SIDE, 0)}, {"y1", "0"}, {"x2", svgNum(MAP_SIDE, 0)},
                       {"y2", svgNum(PICTURE_HEIGHT, 0)}, {"stroke", "#bdbdbd"}});
    Panel panel(svg, MAP_SIDE + 16.0);
    panel.line("Local map", "title");
    panel.line(utcText(ctx.now));
    std::string centre = ctx.centreKind == "node" ? "node " + std::to_string((long long)ctx.options.nodeId)
                         : ctx.centreKind == "vehicle" ? "the vehicle's fix"
                                                       : "the map (no fix)";
    panel.line("centred on " + centre + ", " + svgNum(ctx.options.aroundMetres, 0) + " m around");
    if (!scene.fixKnown) {
        panel.line("no fix published");
    } else {
        panel.line("fix " + svgNum(scene.fix.position.longitude, 6) + ", " + svgNum(scene.fix.position.latitude, 6));
    }
    approachLines(ctx, panel);
    targetLines(ctx, panel);
    if (!scene.absent.empty()) {
        panel.line("Lists left out (no owner)", "head");
        std::string names;
        for (size_t i = 0; i < scene.absent.size(); ++i) {
            names += scene.absent[i] + (i + 1 < scene.absent.size() ? ", " : "");
            if (names.size() > 30 || i + 1 == scene.absent.size()) {
                panel.line(names);
                names.clear();
            }
        }
    }
    keyLines(ctx, panel);
    svg.close();
}

}  // namespace drawing
