#include "PtcText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "RecordText.h"
#include "ToolText.h"

namespace {

constexpr double PI = 3.141592653589793;

// Damaged records may hold anything: a figure that is not finite shows as "null".
std::string num(double value)
{
    if (!std::isfinite(value)) {
        return "null";
    }
    return value == std::floor(value) && std::fabs(value) < 1e15 ? fixed(value, 0) : formatDouble(value);
}

std::string numF(float value)
{
    if (!std::isfinite(value)) {
        return "null";
    }
    if (std::isfinite(value) && value == std::floor(value) && std::fabs(value) < 1e7f) {
        return fixed(value, 0);
    }
    char buf[32];
    for (int digits = 1; digits <= 9; ++digits) {
        snprintf(buf, sizeof buf, "%.*g", digits, (double)value);
        if (strtof(buf, nullptr) == value) {
            break;
        }
    }
    return buf;
}

std::string bearingText(double angle)
{
    double deg = angle * 180.0 / PI;
    if (std::fabs(deg) < 0.05) {
        deg = 0.0;  // no "-0.0"
    }
    return fixed(deg, 1) + " deg" + (std::fabs(deg) < 0.05 ? " (ahead)" : deg > 0 ? " (right)" : " (left)");
}

}  // namespace

std::string textOf(const char* field, size_t width)
{
    return printable(fieldText(field, width));
}

std::string headText(const PTC& p)
{
    return "ptcID " + std::to_string(p.ptcID) + "  source " + std::to_string(p.source) + "  sourceID \"" +
           textOf(p.sourceID, PTC::TEXT_LEN) + "\"  type " + std::to_string(p.ptcType) + "  ";
}

std::string headText(const IF_PTCBase&)
{
    return "";
}

std::string headText(const TargetBase& t)
{
    double distance = t.distance;
    return "type " + std::to_string(t.tgtType) + "  distance " +
           (distance == TargetBase::DISTANCE_NONE ? std::string("unknown") : fixed(distance, 1) + " m") +
           "  bearing " + bearingText(t.angle) + "  ";
}

std::string headText(const TgtCollision& c)
{
    double figure = c.collision;
    return headText(static_cast<const TargetBase&>(c)) + "collision " +
           (figure == TgtCollision::COLLISION_NONE ? std::string("none") : num(figure)) + "  ";
}

std::string baseText(const IF_PTCBase& p, double now)
{
    double lon = p.gnss.position.longitude, lat = p.gnss.position.latitude, stamp = p.latestRefreshTime;
    return "local " + std::to_string(p.localID) + "  id \"" + textOf(p.id, IF_PTCBase::ID_LEN) + "\"  lon " +
           fixed(lon, 7) + ", lat " + fixed(lat, 7) + "  speed " + numF(p.gnss.speed) + " m/s  heading " +
           numF(p.gnss.heading) + " deg  age " + fixed(now - stamp, 3) + " s";
}
