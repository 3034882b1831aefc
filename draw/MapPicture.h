#ifndef V2XSHM_DRAW_MAPPICTURE_H
#define V2XSHM_DRAW_MAPPICTURE_H

#include <cstdint>
#include <string>

// A picture of the local map as the lists hold it now, in SVG: the nodes
// within reach, their links and lanes, stop lines, movements coloured by the
// light state of their phase, the vehicle at its fix with its trace, the
// located link, participants and targets, road-side information.
//
// The same state and the same `nowSeconds` give the same bytes, on every
// host: no clock is read while drawing, and the time is in the file only as
// the shown text and data-now. Elements carry ids, classes and data-
// attributes a page or a test reads the state from:
//   svg            data-now, data-centre ("vehicle" or "node"), data-around
//   id="vehicle"   transform="translate(X,Y) rotate(HEADING_DEG)", data-speed
//   id="trace"     the recent fixes, newest last
//   class="node"   data-node;  class="link"  data-node, data-upstream
//   class="stop-line", class="lane"  the same keys
//   class="movement"  data-node, data-upstream, data-remote, data-phase,
//                  data-state (lightName, "none" without a light),
//                  data-countdown (seconds to the change, "" unknown)
//   class="phase-badge"  one per phase of a link, with the same data-
//   id="located-link" data-node, data-upstream; id="stop-distance" data-metres
//   class="participant" data-list (ptc, obu, rsu), data-id, data-distance,
//                  data-bearing (degrees, positive to the right)
//   class="target" data-id, data-distance, data-bearing
//   class="rsi"    data-source, data-info
//   id="scale-bar" data-metres; id="north-arrow"; id="legend"

struct MapScene;

struct DrawOptions {
    // Radius of the area drawn, in metres, around the vehicle's fix (or the
    // chosen node).
    double aroundMetres = 150.0;
    // Centre the picture on this node instead of the vehicle; -1: the fix.
    int64_t nodeId = -1;
    // The target list drawn (the tool's own by default).
    int targetKey = 77502;
};

// Largest radius drawn, in metres: a local map spans a few hundred.
constexpr double DRAW_MAX_AROUND = 5000.0;

// Reads every list it draws (each copied under its own lock, none held while
// drawing) and draws them as they stand at `nowSeconds` (UTC seconds, the
// time light states and ages are evaluated at). Never creates a segment.
// Returns 1 with the picture in *svg; 0 when no node list is present (*svg
// then holds a picture that says so); -1 on bad arguments (a radius not in
// (0, DRAW_MAX_AROUND]) or when the node list cannot be read; -2 when the
// node asked for is not in the list. Another list that is absent or cannot be
// read is left out and named in the legend.
int drawCurrentMap(std::string* svg, const DrawOptions& options, double nowSeconds);

// Draws `scene` (see MapScene.h) as drawCurrentMap does, without reading any
// list. Returns 1, 0, -1 or -2 as drawCurrentMap.
int drawScene(const MapScene& scene, const DrawOptions& options, double nowSeconds, std::string* svg);

#endif
