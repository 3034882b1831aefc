#include "ToolText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::string shortest(double value, bool asFloat)
{
    char buf[64];
    int digits = 1;
    for (; digits <= 17; ++digits) {
        snprintf(buf, sizeof buf, "%.*g", digits, value);
        double back = strtod(buf, nullptr);
        if (asFloat ? (float)back == (float)value : back == value) {
            break;
        }
    }
    double magnitude = std::fabs(value);
    if (strchr(buf, 'e') != nullptr && magnitude >= 1e-4 && magnitude < 1e15) {
        int decimals = digits - 1 - (int)std::floor(std::log10(magnitude));
        snprintf(buf, sizeof buf, "%.*f", decimals < 0 ? 0 : decimals, value);
    }
    return buf;
}

}  // namespace

std::string formatNumber(double value)
{
    return shortest(value, false);
}

std::string formatFloat(float value)
{
    return shortest(value, true);
}

std::string fixed(double value, int decimals)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

std::string printable(std::string text)
{
    for (char& c : text) {
        if ((unsigned char)c < 0x20 || (unsigned char)c >= 0x7f) {
            c = '?';
        }
    }
    return text;
}

std::string positionText(double lon, double lat)
{
    return "lon " + fixed(lon, 7) + ", lat " + fixed(lat, 7);
}

std::string fixLine(const GNSS& g, double now)
{
    std::string line = positionText(g.position.longitude, g.position.latitude) + ", speed " +
                       formatFloat(g.speed) + " m/s, heading " + formatFloat(g.heading) + " deg";
    float precision = g.precision;
    line += precision == 99.0f ? ", precision none" : ", precision " + formatFloat(precision);
    double stamp = g.latestRefreshTime;
    line += stamp == 0.0 ? ", never stored" : ", age " + fixed(now - stamp, 3) + " s";
    return line;
}
