#ifndef V2XSHM_UNIT_TARGETBUILD_H
#define V2XSHM_UNIT_TARGETBUILD_H

#include <vector>

#include "ptc/OBU.h"
#include "ptc/PTC.h"
#include "ptc/RSU.h"
#include "space/GNSS.h"

class TargetMng;

// An advising process's step each cycle: the participants around the vehicle
// turned into targets, each with its distance (metres) and bearing from the
// own vehicle's latest fix, then published whole into a target list.
//
// Target type codes, by the list a target came from:
constexpr unsigned char TARGET_FROM_PTC = 1;  // a detected participant
constexpr unsigned char TARGET_FROM_OBU = 2;  // an on-board unit heard over the air
constexpr unsigned char TARGET_FROM_RSU = 3;  // a road-side unit

// Replaces the local list of `out` with one target per record: `ptcs`, then
// `obus`, then `rsus`, each in list order, the class copied from PTC and OBU
// records (RSU targets have class zero). The bearing is taken from the fix's
// heading (motion is derived from `own` here; `own` itself is not changed).
// Returns the number of targets a commit publishes (at most
// TargetMng::CAPACITY; the local list keeps them all), -1 for a null `out`
// or no memory (local list then partly built), -2 when `own` was never
// stored (refresh stamp 0; local list cleared). Pure; no locking.
int buildTargets(const GNSS& own, const std::vector<PTC>& ptcs, const std::vector<OBU>& obus,
                 const std::vector<RSU>& rsus, TargetMng* out);

// Commits the local list of `mng` (its first TargetMng::CAPACITY targets)
// and cuts the local list to what was published. Returns the commit's result
// (1 written, local list cut; -1 not written, local list kept), or -1 for a
// null manager. Takes the segment's lock through the commit.
int publishTargets(TargetMng* mng);

#endif
