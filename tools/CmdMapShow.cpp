// v2xshm show map [--node ID] | show location
//
// The node list as a locating process reads it, node by node with its links,
// lanes, points and movements.
#include "Commands.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#include "LocalMapFront.h"
#include "ListViewJson.h"
#include "LocalMapJson.h"
#include "localmap/LMNodeListMng.h"

namespace {

std::string position(const GeoCoordinates& g)
{
    return fixed(g.latitude, 7) + " " + withoutControls(std::string(1, g.latHemisphere)) + " " + fixed(g.longitude, 7) +
           " " + withoutControls(std::string(1, g.lonHemisphere));
}

WholeNumber parseNodeId(const std::string& text, int64_t* out)
{
    long long value = 0;
    WholeNumber result = readWholeNumber(text, INT64_MIN, INT64_MAX, &value);
    *out = value;
    return result;
}

// ---- show map ----

std::string movementsText(const std::map<int64_t, LMMovementBase>& movements)
{
    if (movements.empty()) {
        return "none";
    }
    std::string out;
    for (const auto& m : movements) {
        out += (out.empty() ? "" : ", ") + ("-> " + std::to_string(m.first) + " phase " +
                                            std::to_string((unsigned)m.second.phaseId));
    }
    return out;
}

void printNode(const LMNodeExtend& node)
{
    std::cout << "node " << (long long)node.nodeId << " \"" << withoutControls(fieldText(node.name, LMNodeBase::NAME_LEN))
              << "\" at " << position(node) << ", refreshed " << ageText(node) << ", " << node.links.size()
              << " links\n";
    for (const auto& entry : node.links) {
        const LMLinkExtend& link = entry.second;
        double length = link.points.empty() ? 0.0 : link.points.front().dis2End;
        std::cout << "  link from " << entry.first << " \"" << withoutControls(fieldText(link.name, LMLinkBase::NAME_LEN))
                  << "\": " << (unsigned)link.laneNum << " lanes, " << link.points.size() << " points, "
                  << fixed(length, 1) << " m to the stop line\n";
        std::cout << "    speed limits:";
        if (link.speedLimits.empty()) {
            std::cout << " none";
        }
        for (const LMSpeedLimitBase& s : link.speedLimits) {
            std::cout << " type " << (unsigned)s.type << " " << speedText(s.speed) << ";";
        }
        std::cout << "\n    movements: " << movementsText(link.movements) << "\n";
        for (const LMPointBase& p : link.points) {
            std::cout << "    point " << position(p) << "  " << fixed(p.dis2End, 1) << " m to the end\n";
        }
        for (const auto& laneEntry : link.lanes) {
            const LMLaneExtend& lane = laneEntry.second;
            std::cout << "    lane " << (unsigned)laneEntry.first << " (bits " << hexText(lane.laneBitsA, 2) << " "
                      << hexText(lane.laneBitsB, 2) << " type " << (unsigned)lane.laneTypeCode << " "
                      << hexText(lane.laneBitsC, 2) << "): " << lane.points.size() << " points, movements "
                      << movementsText(lane.movements) << "\n";
        }
    }
}

int showMap(const ToolArgs& args)
{
    bool oneNode = false;
    int64_t nodeId = 0;
    if (args.words.size() == 2 && args.words[0] == "--node") {
        WholeNumber parsed = parseNodeId(args.words[1], &nodeId);
        if (parsed != WholeNumber::OK) {
            return usageError(wholeNumberError("node id", args.words[1], parsed, INT64_MIN, INT64_MAX));
        }
        oneNode = true;
    } else if (!args.words.empty()) {
        return usageError("usage: show map [--node ID]");
    }
    std::optional<LMNodeListMng> mng;
    if (!openList(&mng, "map")) {
        return EXIT_FAILURE_CODE;
    }
    std::map<int64_t, LMNodeExtend> shown;
    if (oneNode) {
        auto found = mng->nodes.find(nodeId);
        if (found == mng->nodes.end()) {
            return failure("no node " + std::to_string((long long)nodeId) + " in the map");
        }
        shown.insert(*found);
    } else {
        shown.swap(mng->nodes);
    }
    if (args.json) {
        printJson(nodeListJson(shown));
        return EXIT_OK;
    }
    if (!oneNode) {
        std::cout << "map: " << shown.size() << " nodes\n";
    }
    for (const auto& node : shown) {
        printNode(node.second);
    }
    std::cout.flush();
    return EXIT_OK;
}

}  // namespace

int cmdShowMap(const std::string& what, const ToolArgs& args)
{
    return what == "map" ? showMap(args) : cmdShowLocation(args);
}
