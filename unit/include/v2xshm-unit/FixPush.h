#ifndef V2XSHM_UNIT_FIXPUSH_H
#define V2XSHM_UNIT_FIXPUSH_H

#include <optional>

#include "space/GNSS.h"

class DevGNSSMng;
class VehTraceMng;

// What a receiving (positioning) process does with each new fix: check that
// the receiver's figures make a fix, store it as the own vehicle's latest and
// add it to the trace, as every reader of those two lists expects.

// One fix as read from a receiver, in plain units.
struct FixReading {
    double longitude = 0.0;           // decimal degrees, west negative
    double latitude = 0.0;            // decimal degrees, south negative
    double speed = 0.0;               // m/s
    double heading = 0.0;             // degrees clockwise from north
    std::optional<double> timeMs;     // ms within the minute; none: the clock's now
    std::optional<double> precision;  // precision figure; none: 99 (no figure)
};

// The first figure of a reading that does not make a fix:
enum FixFault {
    FIX_OK = 0,
    FIX_LONGITUDE,  // outside [-180, 180] or not a number
    FIX_LATITUDE,   // outside [-90, 90] or not a number
    FIX_SPEED,      // negative, or not finite as stored (a float)
    FIX_HEADING,    // outside [0, 360) as stored: 359.99999999 rounds to 360
    FIX_TIME,       // not a whole number of ms in 0..59999
    FIX_PRECISION,  // negative, or not finite as stored
};
FixFault checkFix(const FixReading& reading);

// The stored form of a valid reading: position with its hemisphere letters,
// speed, heading, precision, the time within the minute, refresh stamp now and
// the motion derived from it (refreshMovable2D). Returns 1, or -1 for a null
// `out` or a reading checkFix refuses (out untouched).
int makeFix(const FixReading& reading, GNSS* out);

// Checks and stores `reading`: the fix list gets it whole (commit), the trace
// gets it as its newest entry, and the trace is read back, so that
// trace->trace holds the ring as it now is. *stored (when not null) receives
// the fix as stored. Returns 1; -1 for a null manager or a refused reading
// (nothing written); -2 the fix list could not be written (nothing written);
// -3 the trace refused the fix (fix list written); -4 the trace could not be
// read back (both written). Takes each list's lock in turn. The trace's
// insert reports itself on standard output, as it does for any caller.
int pushFix(const FixReading& reading, DevGNSSMng* gnss, VehTraceMng* trace, GNSS* stored);

#endif
