// Roads and signals: links as bands as wide as their lanes with centre line
// and lane lines, stop lines, movements as arrows in the colour of their
// phase's light, a count-down badge per phase, the nodes.
#include <cmath>
#include <set>

#include "MapDrawing.h"

namespace drawing {

namespace {

PlanePoint plus(PlanePoint a, PlanePoint b, double k)
{
    return {a.east + b.east * k, a.north + b.north * k};
}

PlanePoint unit(PlanePoint from, PlanePoint to)
{
    double dx = to.east - from.east;
    double dy = to.north - from.north;
    double n = std::sqrt(dx * dx + dy * dy);
    return n > 1e-9 ? PlanePoint{dx / n, dy / n} : PlanePoint{0.0, 1.0};
}

// The unit vector to the right of direction d.
PlanePoint rightOf(PlanePoint d)
{
    return {d.north, -d.east};
}

std::string pixelPair(const MapProjection& projection, PlanePoint p)
{
    PixelPoint px = projection.toPixel(p);
    return svgNum(px.x) + "," + svgNum(px.y);
}

// Metres across a link's lanes.
double linkWidth(const LMLinkExtend& link)
{
    return (link.laneNum > 0 ? link.laneNum : 1) * DRAW_LANE_WIDTH;
}

// The link's stop line (its last point) and the direction traffic crosses
// it, in plane metres; false when the link has no point.
bool stopLineOf(const MapProjection& projection, const LMNodeExtend& node, const LMLinkExtend& link, PlanePoint* at,
                PlanePoint* direction)
{
    if (link.points.empty()) {
        return false;
    }
    *at = projection.toPlane(GeoCoordinates(link.points.back()));
    size_t n = link.points.size();
    PlanePoint before = n >= 2 ? projection.toPlane(GeoCoordinates(link.points[n - 2]))
                               : projection.toPlane(GeoCoordinates(node));
    *direction = link.points.size() >= 2 ? unit(before, *at) : unit(*at, before);
    return true;
}

SvgAttrs linkKeys(const LMNodeExtend& node, const LMLinkExtend& link)
{
    return {{"data-node", std::to_string((long long)node.nodeId)},
            {"data-upstream", std::to_string((long long)link.upstreamNodeId)}};
}

SvgAttrs with(SvgAttrs attrs, const SvgAttrs& more)
{
    attrs.insert(attrs.end(), more.begin(), more.end());
    return attrs;
}

// Where a movement towards `remote` leaves the node: towards the remote node
// when it is in the map, else back along the link that comes from it (on the
// other side of the road), else straight on.
PlanePoint exitPoint(const DrawContext& ctx, const LMNodeExtend& node, PlanePoint stop, PlanePoint direction,
                     int64_t remote, double reach)
{
    const MapProjection& proj = ctx.projection;
    PlanePoint centre = proj.toPlane(GeoCoordinates(node));
    auto other = ctx.scene.nodes.find(remote);
    if (other != ctx.scene.nodes.end() && other->first != node.nodeId) {
        PlanePoint out = unit(centre, proj.toPlane(GeoCoordinates(other->second)));
        return plus(plus(centre, out, reach), rightOf(out), DRAW_LANE_WIDTH);
    }
    auto back = node.links.find(remote);
    PlanePoint backStop, backDirection;
    if (back != node.links.end() && stopLineOf(proj, node, back->second, &backStop, &backDirection)) {
        PlanePoint out = {-backDirection.east, -backDirection.north};
        return plus(plus(centre, out, reach), rightOf(out), linkWidth(back->second) / 2.0);
    }
    return plus(stop, direction, 2.0 * reach);
}

}  // namespace

void drawRoads(DrawContext& ctx)
{
    SvgWriter& svg = ctx.svg;
    double ppm = ctx.projection.pixelsPerMetre();
    svg.open("g", {{"id", "roads"}});
    for (const auto& n : ctx.scene.nodes) {
        const LMNodeExtend& node = n.second;
        if (!nodeInReach(ctx.projection, node)) {
            continue;
        }
        for (const auto& l : node.links) {
            const LMLinkExtend& link = l.second;
            SvgAttrs keys = linkKeys(node, link);
            std::string points = pixelList(ctx.projection, link.points);
            svg.open("g", with({{"class", "link"}}, keys));
            svg.empty("polyline", {{"class", "road"}, {"points", points},
                                   {"stroke-width", svgNum(std::fmax(linkWidth(link) * ppm, 4.0))}});
            for (const auto& lane : link.lanes) {
                if (lane.second.points.size() >= 2) {
                    svg.empty("polyline", with({{"class", "lane"},
                                                {"data-lane", std::to_string((unsigned)lane.second.laneID)},
                                                {"points", pixelList(ctx.projection, lane.second.points)}},
                                               keys));
                }
            }
            svg.empty("polyline", {{"class", "centre"}, {"points", points}});
            PlanePoint stop, direction;
            if (stopLineOf(ctx.projection, node, link, &stop, &direction)) {
                PlanePoint side = rightOf(direction);
                double half = linkWidth(link) / 2.0;
                PixelPoint a = ctx.projection.toPixel(plus(stop, side, -half));
                PixelPoint b = ctx.projection.toPixel(plus(stop, side, half));
                svg.empty("line", with({{"class", "stop-line"}, {"x1", svgNum(a.x)}, {"y1", svgNum(a.y)},
                                        {"x2", svgNum(b.x)}, {"y2", svgNum(b.y)}},
                                       keys));
            }
            svg.close();
        }
    }
    svg.close();
}

void drawMovements(DrawContext& ctx)
{
    SvgWriter& svg = ctx.svg;
    const MapProjection& proj = ctx.projection;
    double ppm = proj.pixelsPerMetre();
    svg.open("g", {{"id", "movements"}});
    for (const auto& n : ctx.scene.nodes) {
        const LMNodeExtend& node = n.second;
        PlanePoint stop, direction;
        if (!nodeInReach(proj, node)) {
            continue;
        }
        for (const auto& l : node.links) {
            const LMLinkExtend& link = l.second;
            if (link.movements.empty() || !stopLineOf(proj, node, link, &stop, &direction)) {
                continue;
            }
            PlanePoint centre = proj.toPlane(GeoCoordinates(node));
            double reach = (centre.east - stop.east) * direction.east + (centre.north - stop.north) * direction.north;
            reach = reach > 4.0 ? reach : 15.0;
            double width = linkWidth(link);
            size_t count = link.movements.size();
            size_t index = 0;
            std::set<uint8_t> badged;
            double badgeAt = 0.0;  // pixels upstream of the stop line taken by badges so far
            for (const auto& m : link.movements) {
                const LMMovementBase& movement = m.second;
                bool listed = false;
                PhaseNow state = phaseStateOf(ctx.scene, node.nodeId, movement.phaseId, ctx.now, &listed);
                const char* colour = lightClass(state.light, state.known);
                std::string stateName = !listed ? "none" : (state.known ? lightName(state.light) : "unknown");
                std::string countdown = state.known && state.remaining >= 0.0 ? svgNum(state.remaining, 1) : "";
                SvgAttrs keys = with(linkKeys(node, link),
                                     {{"data-remote", std::to_string((long long)m.first)},
                                      {"data-phase", std::to_string((unsigned)movement.phaseId)},
                                      {"data-state", stateName},
                                      {"data-countdown", countdown}});
                // Arrows side by side across the link, left to right.
                double lateral = width * ((double)index + 0.5) / (double)count - width / 2.0;
                PlanePoint start = plus(plus(stop, rightOf(direction), lateral), direction, 1.0);
                PlanePoint control = plus(start, direction, reach);
                PlanePoint end = exitPoint(ctx, node, stop, direction, m.first, reach);
                svg.empty("path", with({{"class", std::string("movement ") + colour},
                                        {"d", "M" + pixelPair(proj, start) + " Q" + pixelPair(proj, control) + " " +
                                                  pixelPair(proj, end)},
                                        {"marker-end", std::string("url(#head-") + colour + ")"}},
                                       keys));
                ++index;
                uint8_t phaseId = movement.phaseId;  // out of the packed record
                if (!badged.insert(phaseId).second) {
                    continue;
                }
                // One badge per phase of the link, upstream of its stop line.
                std::string label = "P" + std::to_string((unsigned)movement.phaseId) +
                                    (countdown.empty() ? "" : " " + countdownText(state.remaining));
                double w = 10.0 + 7.0 * (double)label.size();
                double h = 17.0;
                PixelPoint s = proj.toPixel(stop);
                PixelPoint u = proj.toPixel(plus(stop, direction, -1.0));
                double ux = u.x - s.x, uy = u.y - s.y, un = std::sqrt(ux * ux + uy * uy);
                ux /= un;
                uy /= un;
                // Beside the road on the right of the traffic, stacked upstream.
                double rx = uy, ry = -ux;
                double gap = 8.0 + badgeAt + (std::fabs(ux) * w + std::fabs(uy) * h) / 2.0;
                double aside = width * ppm / 2.0 + 5.0 + (std::fabs(rx) * w + std::fabs(ry) * h) / 2.0;
                double cx = s.x + ux * gap + rx * aside, cy = s.y + uy * gap + ry * aside;
                badgeAt += std::fabs(ux) * w + std::fabs(uy) * h + 4.0;
                reserve(ctx, {cx - w / 2.0, cy - h / 2.0, cx + w / 2.0, cy + h / 2.0});
                svg.open("g", with({{"class", std::string("phase-badge ") + colour}}, keys));
                svg.empty("rect", {{"x", svgNum(cx - w / 2.0)}, {"y", svgNum(cy - h / 2.0)}, {"width", svgNum(w)},
                                   {"height", svgNum(h)}, {"rx", "4"}, {"stroke", "#ffffff"}});
                svg.text("text", {{"class", "badge-text"}, {"x", svgNum(cx)}, {"y", svgNum(cy + 4.0)},
                                  {"text-anchor", "middle"}},
                         label);
                svg.close();
            }
        }
    }
    svg.close();
}

void drawNodes(DrawContext& ctx)
{
    SvgWriter& svg = ctx.svg;
    svg.open("g", {{"id", "nodes"}});
    for (const auto& n : ctx.scene.nodes) {
        const LMNodeExtend& node = n.second;
        if (!nodeInReach(ctx.projection, node)) {
            continue;
        }
        PixelPoint at = ctx.projection.toPixel(GeoCoordinates(node));
        std::string id = std::to_string((long long)node.nodeId);
        std::string name = fieldText(node.name, sizeof node.name);
        svg.open("g", {{"class", "node"}, {"data-node", id}});
        svg.empty("circle", {{"cx", svgNum(at.x)}, {"cy", svgNum(at.y)}, {"r", "6"}, {"fill", "#283593"},
                             {"stroke", "#ffffff"}, {"stroke-width", "2"}});
        // Clear of the roads that meet there.
        placeLabel(ctx, at, 30.0, {{"node " + id + (name.empty() ? "" : " " + name), "halo head"}});
        svg.close();
    }
    svg.close();
}

}  // namespace drawing
