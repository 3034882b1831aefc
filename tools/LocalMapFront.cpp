#include "LocalMapFront.h"

#include <cstdio>
#include <cstring>

#include "shm/TimeTool.h"

std::string withoutControls(const std::string& text)
{
    std::string out = text;
    for (char& c : out) {
        if ((unsigned char)c < 0x20 || (unsigned char)c == 0x7f) {
            c = '?';
        }
    }
    return out;
}

std::string speedText(float metresPerSecond)
{
    constexpr double MS_TO_KMH = 3.6;
    return fixed(metresPerSecond, 2) + " m/s (" + fixed(metresPerSecond * MS_TO_KMH, 1) + " km/h)";
}

std::string ageText(const IF_Refreshable& rec)
{
    return agoText(rec.getLatestRefreshTime(), TimeTool::getPreciseTimeNow());
}

std::string phaseText(const PhaseNow& now)
{
    if (!now.known) {
        return "no state known now";
    }
    return std::string(lightName(now.light)) +
           (now.remaining < 0.0 ? ", change unknown" : ", changes in " + fixed(now.remaining, 1) + " s");
}
