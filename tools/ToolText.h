#ifndef V2XSHM_TOOLS_TOOLTEXT_H
#define V2XSHM_TOOLS_TOOLTEXT_H

#include <string>

#include "space/GNSS.h"

// Plain-text forms of numbers, texts, positions and fixes shared by the
// commands.

// The fewest significant digits that read back to the same double, in plain
// notation for the magnitudes positions, speeds and times have ("10", not
// "1e+01").
std::string formatNumber(double value);
// The same for a float.
std::string formatFloat(float value);
// `decimals` digits after the point.
std::string fixed(double value, int decimals);
// The text with every byte that does not print (control, non-ASCII) as '?'.
std::string printable(std::string text);
// "lon 120.1234567, lat 30.1234567".
std::string positionText(double lon, double lat);
// A fix on one line: position, speed, heading, precision and age at `now`.
std::string fixLine(const GNSS& g, double now);

#endif
