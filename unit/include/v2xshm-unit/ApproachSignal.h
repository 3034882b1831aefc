#ifndef V2XSHM_UNIT_APPROACHSIGNAL_H
#define V2XSHM_UNIT_APPROACHSIGNAL_H

#include <cstdint>
#include <map>
#include <vector>

#include "localmap/LMMapRes.h"
#include "localmap/LMNodeExtend.h"
#include "localmap/LMTLPhaseRes.h"
#include "localmap/LMTrafficLightExtend.h"

class LMTLPhaseResMng;

// The signal state of the vehicle's approach: for each movement of the
// located link, the light of the phase that governs it, now.
//
// A light's count-down times are seconds from its reception, so the state
// now is the one whose window [startTime, likelyEndTime) holds the light's
// age (now minus its refresh stamp); a start of -1 is a state already
// running, an end of -1 a state whose end is not known. Where two windows
// hold the age, the one that started later wins.
//
// Published form, one LMTLPhaseRes per movement of the link, in ascending
// remote node id, at most 16 (the meanings every unit process reads them by):
//   refresh stamp  when the state was evaluated (the `now` passed in)
//   valueInt       tenths of a second until the state now ends; -1 unknown
//   valueByte1     the movement's phaseId
//   valueByte2     the light state code now; 0 when none is known
//   valueBytes1    the located node's id (signed 64-bit, host order)
//   valueBytes2    the movement's remote node id (signed 64-bit, host order)

// Light state codes as the lights carry them (movement phase states).
enum LightCode : uint8_t {
    LIGHT_UNKNOWN = 0,
    LIGHT_DARK = 1,
    LIGHT_FLASHING_RED = 2,
    LIGHT_RED = 3,
    LIGHT_RED_AND_YELLOW = 4,
    LIGHT_GREEN_PERMISSIVE = 5,
    LIGHT_GREEN_PROTECTED = 6,
    LIGHT_YELLOW_PERMISSIVE = 7,
    LIGHT_YELLOW_PROTECTED = 8,
    LIGHT_FLASHING_YELLOW = 9,
};

// "red", "green", ...; "unknown" for codes outside 0..9.
const char* lightName(uint8_t code);
// True for the two green codes (5, 6): the movement may go.
bool isGreen(uint8_t code);

// One state of a phase as seen from now; times in seconds from now,
// -1 where the light does not give them (or, for start, already running).
struct SignalWindow {
    uint8_t light = 0;
    double start = -1.0;      // when the state begins; -1 running now
    double minEnd = -1.0;     // earliest end
    double likelyEnd = -1.0;  // likely end
    double maxEnd = -1.0;     // latest end
};

// The state of one phase now.
struct PhaseNow {
    bool known = false;       // a state's window holds the light's age
    uint8_t light = 0;        // its light code; 0 when not known
    double remaining = -1.0;  // seconds until it ends; -1 unknown
    bool nextKnown = false;   // a state of the phase begins after it
    uint8_t nextLight = 0;    // the light code of that state; 0 when not known
    // Every state of the phase not yet ended, in the order they begin.
    std::vector<SignalWindow> windows;
};

// The state of `phase` `age` seconds after its light was received.
// Pure; no locking.
PhaseNow phaseNow(const LMPhaseExtend& phase, double age);

// One movement of the located link with its light now.
struct ApproachMovement {
    int64_t remoteNodeId = 0;  // where the movement leads
    uint8_t phaseId = 0;       // the phase that governs it
    bool phaseListed = false;  // the node's light has that phase
    PhaseNow now;              // not known when the phase is not listed
    // True when the time until the state ends is known.
    bool timeKnown() const { return now.known && now.remaining >= 0.0; }
};

struct ApproachSignal {
    int64_t nodeId = 0;          // the located node
    int64_t upstreamNodeId = 0;  // the located link's key
    bool lightReceived = false;  // the light list holds a light of the node
    double lightAge = -1.0;      // seconds since that light was received; -1 none
    std::vector<ApproachMovement> movements;  // one per link movement, by remote node id
};

// Evaluates the signal state of the located link at time `now` (seconds
// since the epoch, as refresh stamps are: the clock, or the time of the fix
// the vehicle was located from); a light received after `now` is taken as
// it was received. `nodes` is the node list's map,
// `located` a result of calcVehLocationInLM, `lights` the light list's map.
// Returns 1 (out written), -1 `out` null, -2 the located node or link is not
// in `nodes` (out cleared), -3 out of memory. Pure; no locking.
int evalApproachSignal(const std::map<int64_t, LMNodeExtend>& nodes, const LMMapRes& located,
                       const std::map<int64_t, LMTrafficLightExtend>& lights, double now, ApproachSignal* out);

// The published form of `signal` (see above), stamped `now`, at most 16.
// Returns the number of results, or -1 (out null or out of memory).
int approachPhaseResults(const ApproachSignal& signal, double now, std::vector<LMTLPhaseRes>* out);

// Replaces the phase results of `mng` with those of `signal` and commits
// them: the one call a locating process makes. Returns the commit's result
// (1 written), or -1 for a null manager or out of memory. Takes the
// segment's lock through the commit; the caller holds no other lock.
int publishApproachSignal(const ApproachSignal& signal, double now, LMTLPhaseResMng* mng);

#endif
