#ifndef V2XSHM_TOOLS_SERVE_LIVELISTS_H
#define V2XSHM_TOOLS_SERVE_LIVELISTS_H

#include <string>
#include <vector>

// What the live page shows, read from the lists at one moment: each served
// list as its JSON view (the form `show ... --json` prints), the state the
// side panel shows, and the picture.
//
// A list is read only when the kernel says it has an owner (a look-up-only
// probe), so the page never creates a segment, and each list is copied under
// its own lock into the manager's local copy; all text is made after the
// lock is released.

struct LiveList {
    std::string name;      // the tool's name of the list
    bool present = false;  // an owner keeps it
    bool read = false;     // it decoded
    std::string json;      // its JSON view, or {"list", "present": false}
};

struct LiveSnapshot {
    double takenAt = 0.0;         // UTC seconds
    std::vector<LiveList> lists;  // servedLists() order
    std::string state;            // the side panel's JSON (see takeSnapshot)
    std::string svg;              // the picture
};

// The names of the lists served, each at /api/list/NAME.
const std::vector<std::string>& servedLists();

// Reads every served list and draws the picture as they stand at `now`.
// `state` holds {"takenAt", "lists": [{"name", "present", "read",
// "ageSeconds"}...], "absent": [names], "fix", "location", "approach":
// [movement with "advice"...] or null, "targets": [target...], "drawn"}.
// Returns 1; -1 when out of memory (out unchanged).
int takeSnapshot(double now, LiveSnapshot* out);

#endif
