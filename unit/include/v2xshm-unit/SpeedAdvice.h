#ifndef V2XSHM_UNIT_SPEEDADVICE_H
#define V2XSHM_UNIT_SPEEDADVICE_H

#include <vector>

#include "v2xshm-unit/ApproachSignal.h"

// Speed advice for the approach: the band of constant speeds at which the
// vehicle reaches the stop line while its movement's light is green, within
// the link's speed limits.
//
// The advice is cautious where the light gives a range: a green counts from
// the latest end of the states before it (maxEnd, else likelyEnd) to its own
// earliest end (minEnd, else likelyEnd). A state whose end is not given makes
// everything after its start uncertain: a green that never ends is not
// promised, a red that never ends may still turn green, so the advice is
// UNKNOWN rather than STOP when no band was found before it.

struct AdviceInput {
    double distance = 0.0;  // metres to the stop line, >= 0
    double speed = 0.0;     // metres per second now, >= 0
    double minSpeed = 0.0;  // metres per second, the link's minimum (0: none)
    double maxSpeed = 0.0;  // metres per second, the link's maximum, > 0
    // The movement's light: states not yet ended, in the order they begin
    // (PhaseNow::windows); empty when no light was received.
    std::vector<SignalWindow> windows;
};

struct SpeedAdvice {
    enum Verdict {
        UNKNOWN,  // no light, or its times do not settle it
        GO,       // any constant speed in [low, high] arrives on green
        STOP,     // no speed within the limits arrives on a known green, and the
                  // light is known not to be green at the fastest arrival
    };
    Verdict verdict = UNKNOWN;
    double low = 0.0;             // metres per second, the band's lower end (GO only)
    double high = 0.0;            // metres per second, its upper end (GO only)
    double greenFrom = -1.0;      // seconds from now: the green window the band aims at; -1 none
    double greenUntil = -1.0;     // seconds from now
    bool speedInBand = false;     // the speed now is in the band
};

// "unknown", "go", "stop".
const char* adviceName(SpeedAdvice::Verdict verdict);

// The advice for `in`. Arrivals later than the last state the light gives an
// end for are not known. Where several green windows can be reached, the band
// that holds the speed now is chosen, else the fastest one (the earliest
// green). At distance 0 only a green now is GO, with the whole limit band.
// Returns 1 (out written), -1 for a null `out` or an input out of range
// (negative or not finite distance or speed, maxSpeed <= 0). Pure.
int adviseSpeed(const AdviceInput& in, SpeedAdvice* out);

// The advice for each movement of `signal` (in its order), for a vehicle
// `located` (distance to the stop line, the link's limits) at `speed`
// metres per second. Returns the number of advices (out written), or -1 for
// a null `out`, an input out of range or out of memory. Pure.
int adviseApproach(const ApproachSignal& signal, const LMMapRes& located, double speed,
                   std::vector<SpeedAdvice>* out);

#endif
