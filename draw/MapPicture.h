#ifndef V2XSHM_DRAW_MAPPICTURE_H
#define V2XSHM_DRAW_MAPPICTURE_H

#include <cstdint>
#include <string>

// A picture of the local map as the lists hold it now, in SVG: the nodes
// within reach, their links and lanes, stop lines, movements coloured by the
// light state of their phase, the vehicle at its fix with its trace, the
// located link, participants and targets, road-side information.

struct DrawOptions {
    // Radius of the area drawn, in metres, around the vehicle's fix (or the
    // chosen node).
    double aroundMetres = 150.0;
    // Centre the picture on this node instead of the vehicle; -1: the fix.
    int64_t nodeId = -1;
};

// Reads every list it draws (each copied under its own lock, none held while
// drawing) and draws them as they stand at `nowSeconds` (UTC seconds, the
// time light states and ages are evaluated at). Never creates a segment.
// Returns 1 with the picture in *svg; 0 when no node list is present (*svg
// then holds a picture that says so); -1 on bad arguments or when a list
// cannot be read.
int drawCurrentMap(std::string* svg, const DrawOptions& options, double nowSeconds);

#endif
