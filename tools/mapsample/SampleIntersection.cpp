#include "SampleIntersection.h"

#include <cstring>
#include <initializer_list>
#include <utility>

#include "v2xshm-unit/LMMessageWriter.h"

namespace {

constexpr double LANE_WIDTH = 3.5;  // metres
constexpr double STOP_LINE = 15.0;  // metres from a node's centre to its stop lines

// Lane attribute bits as the map source sends them: the library only carries
// them; these follow the source's maneuver bits (left, straight, right).
constexpr uint8_t TURN_LEFT = 0x40;
constexpr uint8_t STRAIGHT = 0x80;
constexpr uint8_t TURN_RIGHT = 0x20;

// Signal phases of the centre node.
constexpr uint8_t PHASE_NS_LEFT = 1;
constexpr uint8_t PHASE_NS_THROUGH = 2;
constexpr uint8_t PHASE_EW_LEFT = 3;
constexpr uint8_t PHASE_EW_THROUGH = 4;

struct Xy {
    double east;
    double north;
};

// Where a movement leads and the phase that governs it.
struct Turn {
    int64_t remoteNodeId;
    uint8_t phaseId;
    uint8_t maneuver;  // TURN_LEFT, STRAIGHT or TURN_RIGHT
};

// A lane, by its offset to the right of the link's centre line and the
// turns it allows.
struct LaneSpec {
    uint8_t laneID;
    double offset;  // metres to the right of the link's centre line
    std::vector<Turn> turns;
};

// An approach: where it comes from, its name, its centre line from the far
// end to the stop line (metres from `origin`), its lanes, turns and limits.
struct ApproachSpec {
    int64_t upstreamNodeId;
    const char* name;
    Xy origin;
    std::vector<Xy> shape;
    std::vector<LaneSpec> lanes;
    std::vector<Turn> turns;
    std::vector<std::pair<uint8_t, float>> limits;  // (type, m/s)
};

// Over a zeroed 64-byte name field; no terminator needed at 64 bytes.
void setName(char* field, const char* text)
{
    memcpy(field, text, strnlen(text, 64));
}

LMPointBase pointAt(double east, double north)
{
    LMPointBase point;
    GeoCoordinates g = SampleIntersection::at(east, north);
    static_cast<GeoCoordinates&>(point) = g;
    return point;
}

LMMovementBase movementOf(const Turn& turn)
{
    LMMovementBase movement;
    movement.remoteNodeId = turn.remoteNodeId;
    movement.phaseId = turn.phaseId;
    return movement;
}

// The unit vector to the right of the direction from a to b.
Xy rightOf(Xy a, Xy b)
{
    double dx = b.east - a.east;
    double dy = b.north - a.north;
    // Every sample segment runs along an axis or nearly so: the offset is
    // taken from the dominant axis, which keeps the arithmetic exact.
    if (dx * dx >= dy * dy) {
        return dx > 0 ? Xy{0.0, -1.0} : Xy{0.0, 1.0};
    }
    return dy > 0 ? Xy{1.0, 0.0} : Xy{-1.0, 0.0};
}

LMLinkExtend linkOf(const ApproachSpec& spec)
{
    LMLinkExtend link;
    link.upstreamNodeId = spec.upstreamNodeId;
    setName(link.name, spec.name);
    link.attrFloat1 = (float)LANE_WIDTH;
    link.laneNum = (uint8_t)spec.lanes.size();
    link.attrFloat2 = 0.0f;
    for (const Xy& p : spec.shape) {
        link.points.push_back(pointAt(spec.origin.east + p.east, spec.origin.north + p.north));
    }
    for (const auto& limit : spec.limits) {
        LMSpeedLimitBase speedLimit;
        speedLimit.type = limit.first;
        speedLimit.speed = limit.second;
        link.speedLimits.push_back(speedLimit);
    }
    for (const Turn& turn : spec.turns) {
        link.movements[turn.remoteNodeId] = movementOf(turn);
    }
    for (const LaneSpec& laneSpec : spec.lanes) {
        LMLaneExtend lane;
        lane.laneID = laneSpec.laneID;
        uint8_t maneuvers = 0;
        for (const Turn& turn : laneSpec.turns) {
            maneuvers |= turn.maneuver;
            lane.movements[turn.remoteNodeId] = movementOf(turn);
        }
        lane.laneBitsA[0] = 0x00;
        lane.laneBitsA[1] = 0x01;  // vehicle lane
        lane.laneBitsB[0] = maneuvers;
        lane.laneBitsB[1] = 0x00;
        lane.laneTypeCode = 0;
        lane.laneBitsC[0] = 0x00;
        lane.laneBitsC[1] = 0x00;
        // The lane follows the link's centre line, shifted to its side.
        for (size_t i = 0; i < spec.shape.size(); ++i) {
            size_t j = i + 1 < spec.shape.size() ? i : i - 1;
            Xy right = rightOf(spec.shape[j], spec.shape[j + 1]);
            lane.points.push_back(pointAt(spec.origin.east + spec.shape[i].east + right.east * laneSpec.offset,
                                          spec.origin.north + spec.shape[i].north + right.north * laneSpec.offset));
        }
        link.lanes[lane.laneID] = lane;
    }
    return link;
}

LMNodeExtend nodeOf(int64_t nodeId, const char* name, Xy at, const std::vector<ApproachSpec>& approaches)
{
    LMNodeExtend node;
    node.nodeId = nodeId;
    setName(node.name, name);
    static_cast<GeoCoordinates&>(node) = SampleIntersection::at(at.east, at.north);
    for (const ApproachSpec& spec : approaches) {
        node.links[spec.upstreamNodeId] = linkOf(spec);
    }
    return node;
}

// Lanes of an approach, numbered from the inside (nearest the road's
// centre line) outwards; offsets are to the right of the link's centre line.
std::vector<LaneSpec> threeLanes(const Turn& left, const Turn& straight, const Turn& right)
{
    return {{1, -LANE_WIDTH, {left}}, {2, 0.0, {straight}}, {3, LANE_WIDTH, {straight, right}}};
}

std::vector<LaneSpec> twoLanes(const Turn& left, const Turn& straight, const Turn& right)
{
    return {{1, -LANE_WIDTH / 2, {left, straight}}, {2, LANE_WIDTH / 2, {straight, right}}};
}

}  // namespace

GeoCoordinates SampleIntersection::at(double east, double north)
{
    GeoCoordinates g;
    g.latHemisphere = 'N';
    g.lonHemisphere = 'E';
    g.longitude = CENTRE_LON + east / METERS_PER_DEG_LON;
    g.latitude = CENTRE_LAT + north / METERS_PER_DEG_LAT;
    g.altitude = ALTITUDE;
    return g;
}

std::vector<LMNodeExtend> SampleIntersection::nodes()
{
    const int64_t quayNorth = 1006;
    const int64_t quaySouth = 1007;
    const int64_t harbourEast = 1008;
    const float limit50 = 13.89f;  // 50 km/h in m/s
    const float limit40 = 11.11f;
    const float limit60 = 16.67f;
    const float minimum10 = 2.78f;

    // Right-hand traffic: a link's centre line lies to the right of the
    // road's centre line, half its lanes' width away.
    const double three = 1.5 * LANE_WIDTH;
    const double two = 1.0 * LANE_WIDTH;

    std::vector<ApproachSpec> centre = {
        // Northbound on Mill Rd, from the south; bends slightly on its way in.
        {SOUTH_NODE, "Mill Rd northbound", {0.0, 0.0},
         {{three + 7.0, -300.0}, {three + 4.0, -230.0}, {three + 1.0, -160.0}, {three, -90.0}, {three, -STOP_LINE}},
         threeLanes({WEST_NODE, PHASE_NS_LEFT, TURN_LEFT}, {NORTH_NODE, PHASE_NS_THROUGH, STRAIGHT},
                    {NEIGHBOUR_NODE, PHASE_NS_THROUGH, TURN_RIGHT}),
         {{WEST_NODE, PHASE_NS_LEFT, TURN_LEFT}, {NORTH_NODE, PHASE_NS_THROUGH, STRAIGHT},
          {NEIGHBOUR_NODE, PHASE_NS_THROUGH, TURN_RIGHT}},
         {{5, limit50}, {4, minimum10}}},
        // Southbound on Mill Rd, from the north.
        {NORTH_NODE, "Mill Rd southbound", {0.0, 0.0},
         {{-three, 260.0}, {-three, 180.0}, {-three, 100.0}, {-three, STOP_LINE}},
         threeLanes({NEIGHBOUR_NODE, PHASE_NS_LEFT, TURN_LEFT}, {SOUTH_NODE, PHASE_NS_THROUGH, STRAIGHT},
                    {WEST_NODE, PHASE_NS_THROUGH, TURN_RIGHT}),
         {{NEIGHBOUR_NODE, PHASE_NS_LEFT, TURN_LEFT}, {SOUTH_NODE, PHASE_NS_THROUGH, STRAIGHT},
          {WEST_NODE, PHASE_NS_THROUGH, TURN_RIGHT}},
         {{5, limit50}, {4, minimum10}}},
        // Eastbound on Harbour St, from the west; no minimum speed.
        {WEST_NODE, "Harbour St eastbound", {0.0, 0.0},
         {{-240.0, -two}, {-120.0, -two}, {-STOP_LINE, -two}},
         twoLanes({NORTH_NODE, PHASE_EW_LEFT, TURN_LEFT}, {NEIGHBOUR_NODE, PHASE_EW_THROUGH, STRAIGHT},
                  {SOUTH_NODE, PHASE_EW_THROUGH, TURN_RIGHT}),
         {{NORTH_NODE, PHASE_EW_LEFT, TURN_LEFT}, {NEIGHBOUR_NODE, PHASE_EW_THROUGH, STRAIGHT},
          {SOUTH_NODE, PHASE_EW_THROUGH, TURN_RIGHT}},
         {{5, limit50}}},
        // Westbound on Harbour St, from the neighbouring intersection.
        {NEIGHBOUR_NODE, "Harbour St westbound", {0.0, 0.0},
         {{420.0 - STOP_LINE, two}, {300.0, two}, {200.0, two}, {100.0, two}, {STOP_LINE, two}},
         twoLanes({SOUTH_NODE, PHASE_EW_LEFT, TURN_LEFT}, {WEST_NODE, PHASE_EW_THROUGH, STRAIGHT},
                  {NORTH_NODE, PHASE_EW_THROUGH, TURN_RIGHT}),
         {{SOUTH_NODE, PHASE_EW_LEFT, TURN_LEFT}, {WEST_NODE, PHASE_EW_THROUGH, STRAIGHT},
          {NORTH_NODE, PHASE_EW_THROUGH, TURN_RIGHT}},
         {{5, limit40}, {4, minimum10}}},
    };

    const Xy neighbourAt{420.0, 0.0};
    std::vector<ApproachSpec> neighbour = {
        // Eastbound on Harbour St, coming from the centre node.
        {CENTRE_NODE, "Harbour St eastbound", neighbourAt,
         {{-420.0 + STOP_LINE, -two}, {-200.0, -two}, {-STOP_LINE, -two}},
         twoLanes({quayNorth, 1, TURN_LEFT}, {harbourEast, 2, STRAIGHT}, {quaySouth, 2, TURN_RIGHT}),
         {{quayNorth, 1, TURN_LEFT}, {harbourEast, 2, STRAIGHT}, {quaySouth, 2, TURN_RIGHT}},
         {{5, limit40}}},
        // Westbound on Harbour St, from further east.
        {harbourEast, "Harbour St westbound", neighbourAt,
         {{250.0, two}, {120.0, two}, {STOP_LINE, two}},
         twoLanes({quaySouth, 1, TURN_LEFT}, {CENTRE_NODE, 2, STRAIGHT}, {quayNorth, 2, TURN_RIGHT}),
         {{quaySouth, 1, TURN_LEFT}, {CENTRE_NODE, 2, STRAIGHT}, {quayNorth, 2, TURN_RIGHT}},
         {{5, limit60}, {4, minimum10}}},
    };

    return {nodeOf(CENTRE_NODE, "Harbour St / Mill Rd", {0.0, 0.0}, centre),
            nodeOf(NEIGHBOUR_NODE, "Harbour St / Quay Rd", neighbourAt, neighbour)};
}

int SampleIntersection::writeMessage(std::vector<char>* out)
{
    return LMMessageWriter::writeNodeList(nodes(), out);
}
