#ifndef V2XSHM_TOOLS_MAPSAMPLE_SAMPLESIGNAL_H
#define V2XSHM_TOOLS_MAPSAMPLE_SAMPLESIGNAL_H

#include <cstdint>
#include <vector>

#include "localmap/LMRSIExtend.h"
#include "localmap/LMTrafficLightExtend.h"

// The signal controllers and the road-side information of the sample
// intersection (SampleIntersection), for demonstrations, tests and benchmarks.
//
// Lights: one per node, keyed by the node's id; their phases are the
// phaseIds that the sample map's movements carry. Each phase holds the light
// states of one cycle with count-down times in seconds from reception
// (startTime to likelyEndTime; -1 for a state already running). Light codes
// follow the usual movement phase states: 3 red, 6 green, 8 yellow.
//
// RSI: road works on Mill Rd northbound with reference points along the
// approach, a school zone on Harbour St westbound, and a weather warning east
// of the neighbouring node. Their sourceID is left empty: the receiving
// process names the source.
class SampleSignal {
public:
    static constexpr uint8_t LIGHT_RED = 3;
    static constexpr uint8_t LIGHT_GREEN = 6;
    static constexpr uint8_t LIGHT_YELLOW = 8;

    static std::vector<LMTrafficLightExtend> lights();
    // The lights as their controllers send them `seconds` after the moment
    // lights() describes: every count-down that much shorter, the states
    // already over left out, the one running then started (-1).
    static std::vector<LMTrafficLightExtend> lightsAt(double seconds);
    static std::vector<LMRSIExtend> rsiRecords();

    // Append the light list and the RSI list messages to *out. Bytes
    // appended, or -1 (nothing appended) when the writer refuses.
    static int writeLights(std::vector<char>* out, double seconds = 0.0);
    static int writeRSI(std::vector<char>* out);
};

#endif
