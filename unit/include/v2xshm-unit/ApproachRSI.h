#ifndef V2XSHM_UNIT_APPROACHRSI_H
#define V2XSHM_UNIT_APPROACHRSI_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "localmap/LMMapRes.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMRSIExtend.h"
#include "localmap/LMRSIRes.h"

class LMRSIResMng;

// Road-side information on the vehicle's approach: the RSI records with a
// reference point on the located link, that is within the reach of its lanes
// (laneNum x 3.5 m + 5 m) of one of the link's segments, as the location
// search counts a vehicle on the link.
//
// Published form, one LMRSIRes per such record in list order, at most 32
// (the meanings every unit process reads them by):
//   refresh stamp  when they were evaluated (the `now` passed in)
//   valueByte1     the record's place in the RSI list (255 beyond)
//   valueByte2     metres from the vehicle to its nearest reference point,
//                  rounded (255 beyond)
//   text           "SOURCE#INFOID: TEXT", cut to 255 bytes, zero-terminated

constexpr double RSI_LANE_WIDTH = 3.5;    // metres of reach per lane of the link
constexpr double RSI_REACH_MARGIN = 5.0;  // metres of reach beyond the lanes

struct ApproachRSI {
    size_t listIndex = 0;      // place of the record in the RSI list
    double nearest = 0.0;      // metres from the vehicle to its nearest reference point
    std::string source;        // the record's sourceID
    int16_t infoID = 0;
    std::string text;          // the record's text
    // "SOURCE#INFOID: TEXT", as published.
    std::string line() const;
};

// The records of `records` (the RSI list, in list order) on the link that
// `located` names in `nodes`, with their distance to `vehicle`.
// Returns the number found (out written), -1 `out` null, -2 the located node
// or link is not in `nodes` (out cleared), -3 out of memory. Pure; no locking.
int findApproachRSI(const std::map<int64_t, LMNodeExtend>& nodes, const LMMapRes& located,
                    const std::vector<LMRSIExtend>& records, const GeoCoordinates& vehicle,
                    std::vector<ApproachRSI>* out);

// The published form of `found` (see above), stamped `now`, at most 32.
// Returns the number of results, or -1 (out null or out of memory).
int approachRSIResults(const std::vector<ApproachRSI>& found, double now, std::vector<LMRSIRes>* out);

// Replaces the results of `mng` with those of `found` and commits them.
// Returns the commit's result (1 written), or -1 for a null manager or out
// of memory. Takes the segment's lock through the commit.
int publishApproachRSI(const std::vector<ApproachRSI>& found, double now, LMRSIResMng* mng);

#endif
