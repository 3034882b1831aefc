#ifndef V2XSHM_TOOLS_LOCALMAPFRONT_H
#define V2XSHM_TOOLS_LOCALMAPFRONT_H

#include <optional>
#include <string>

#include "ToolCommon.h"
#include "ToolText.h"
#include "shm/IFRefreshable.h"
#include "v2xshm-unit/ApproachSignal.h"

// Text pieces shared by the map, signal and locate commands.

// Control characters shown as '?'; other bytes (names in UTF-8) kept.
std::string withoutControls(const std::string& text);
// "13.89 m/s (50.0 km/h)".
std::string speedText(float metresPerSecond);
// "3.2 s ago", "never" for a record never stamped, or a damaged stamp named.
std::string ageText(const IF_Refreshable& rec);
// "green, changes in 12.0 s", "red, change unknown", "no state known now".
std::string phaseText(const PhaseNow& now);

// Reads a list into `mng` under the lock guard; prints why not and returns
// false when it does not decode.
template <typename Mng>
bool readList(Mng& mng, const char* listName)
{
    guardLockWait(listName);
    int rc = mng.update();
    releaseLockGuard();
    if (rc != 1) {
        failure(std::string("the ") + listName + " list did not decode; it may be being rewritten, try again");
        return false;
    }
    return true;
}

// A list read by a command: made (into *mng) only once its owner is seen, as
// a non-owner manager would otherwise create the segment, then read. Prints
// why not and returns false when either fails.
template <typename Mng>
bool openList(std::optional<Mng>* mng, const char* listName)
{
    if (!requireOwner(*findList(listName))) {
        return false;
    }
    mng->emplace(false);
    return readList(**mng, listName);
}

#endif
