#ifndef V2XSHM_DRAW_MAPSCENE_H
#define V2XSHM_DRAW_MAPSCENE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "localmap/LMMapRes.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMRSIExtend.h"
#include "localmap/LMTrafficLightExtend.h"
#include "ptc/OBU.h"
#include "ptc/PTC.h"
#include "ptc/RSU.h"
#include "ptc/TargetBase.h"
#include "space/GNSS.h"

// Everything the picture shows, copied out of the lists: the drawing works
// on this copy alone, so no list is locked while it draws, and tests draw
// scenes they build by hand.

// The tool's own target list, the one drawn unless told otherwise.
constexpr int DRAW_TARGET_KEY = 77502;

struct MapScene {
    bool mapPresent = false;  // the node list has an owner
    std::map<int64_t, LMNodeExtend> nodes;
    std::map<int64_t, LMTrafficLightExtend> lights;
    std::vector<LMRSIExtend> rsi;
    bool fixKnown = false;  // a fix has been published
    GNSS fix;
    std::vector<GNSS> trace;  // newest first
    bool located = false;     // a location has been published
    LMMapRes location;
    std::vector<PTC> ptcs;
    std::vector<OBU> obus;
    std::vector<RSU> rsus;
    std::vector<TargetBase> targets;
    // Lists that have no owner or could not be read, by the tool's names.
    std::vector<std::string> absent;
};

// Copies every list the picture draws into *scene, each under its own lock
// through its manager, taking only lists whose owner is running (probed
// without creating anything): a missing list stays empty and is named in
// `absent`. Targets come from the list under `targetKey`. Returns 1; 0 when
// the node list has no owner; -1 when the node list does not decode or
// memory runs out.
int gatherScene(MapScene* scene, int targetKey = DRAW_TARGET_KEY);

#endif
