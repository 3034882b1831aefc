#ifndef V2XSHM_TOOLS_MAPSAMPLE_SAMPLEINTERSECTION_H
#define V2XSHM_TOOLS_MAPSAMPLE_SAMPLEINTERSECTION_H

#include <cstdint>
#include <vector>

#include "localmap/LMNodeExtend.h"
#include "space/IFPosition.h"

// A realistic local map for demonstrations, tests and benchmarks: the
// four-way intersection Harbour St / Mill Rd (node CENTRE_NODE) with
// approaches of two and three lanes, right-hand traffic, shape points, lane
// and link movements towards the neighbouring nodes, speed limits, and the
// next intersection east of it (node NEIGHBOUR_NODE) with two approaches.
// Every coordinate is a whole number of metres east and north of the centre
// node turned into degrees with one division each, so that every build, on
// any host, writes the same bytes.
class SampleIntersection {
public:
    static constexpr int64_t CENTRE_NODE = 1001;     // Harbour St / Mill Rd
    static constexpr int64_t NEIGHBOUR_NODE = 1002;  // Harbour St / Quay Rd, 420 m east
    // Upstream ends of the centre node's other approaches (not in the map).
    static constexpr int64_t NORTH_NODE = 1003;
    static constexpr int64_t WEST_NODE = 1004;
    static constexpr int64_t SOUTH_NODE = 1005;

    static constexpr double CENTRE_LON = 120.12;  // degrees east
    static constexpr double CENTRE_LAT = 30.0;    // degrees north
    static constexpr double ALTITUDE = 8.0;       // metres, carried unchanged
    // Metres per degree there: latitude, and longitude scaled by cos(30 deg).
    static constexpr double METERS_PER_DEG_LAT = 111195.0;
    static constexpr double METERS_PER_DEG_LON = 111195.0 * 0.8660254037844387;

    // The point `east` and `north` metres from the centre node.
    static GeoCoordinates at(double east, double north);
    // The two nodes, centre first, as a map source would send them.
    static std::vector<LMNodeExtend> nodes();
    // Appends the node list message of nodes() to *out. Bytes appended, or
    // -1 (nothing appended) when the writer refuses.
    static int writeMessage(std::vector<char>* out);
};

#endif
