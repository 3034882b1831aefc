#ifndef V2XSHM_TOOLS_PTCTEXT_H
#define V2XSHM_TOOLS_PTCTEXT_H

#include <string>

#include "ptc/PTC.h"
#include "ptc/TargetBase.h"
#include "ptc/TgtCollision.h"

// Plain-text forms of participants, targets and collisions: one record a
// line, what the record adds first, then the common part.

// A fixed-width text field up to its first zero, bytes that do not print as '?'.
std::string textOf(const char* field, size_t width);
// "ptcID 7  source 2  sourceID "cam-1"  type 0  "; empty for OBU and RSU.
std::string headText(const PTC& p);
std::string headText(const IF_PTCBase& p);
// "type 2  distance 200.2 m  bearing 0.0 deg (ahead)  ".
std::string headText(const TargetBase& t);
// The target's head with "collision N  " after it.
std::string headText(const TgtCollision& c);
// The common part: identifiers, position, speed, heading and age at `now`.
std::string baseText(const IF_PTCBase& p, double now);

#endif
