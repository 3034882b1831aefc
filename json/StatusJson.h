#ifndef V2XSHM_JSON_STATUSJSON_H
#define V2XSHM_JSON_STATUSJSON_H

#include <string>
#include <vector>

#include "JsonFwd.h"

// JSON views of what a front reports about the lists themselves: the
// segment map with the kernel's view of each list, and the lists an owner
// holds. Field names are listed in docs/json.md.

// One list of the segment map and what the kernel holds under its key.
struct ListStatus {
    std::string name;       // the tool's name of the list
    std::string manager;    // the managing class
    int key = 0;
    int size = 0;           // bytes of the list's layout
    bool segment = false;   // a segment exists under the key
    long segmentSize = 0;   // its size in bytes
    long attached = 0;      // processes attached to it
    std::string semaphore;  // "absent", "never initialised", "free" or "held"
    int waiting = 0;        // processes blocked on the lock
    bool owned = false;     // segment and an initialised semaphore
};
void to_json(Json& j, const ListStatus& status);

// The segment map: {"lists": [status...]}.
struct StatusView {
    const std::vector<ListStatus>& lists;
};
void to_json(Json& j, const StatusView& view);
void printJson(const StatusView& view);

// An owner taking or giving back lists: {"owning": [names], "pid"} when it
// starts, {"released": [names]} when it ends.
struct OwnerEvent {
    bool released;
    const std::vector<std::string>& lists;
    int pid;  // the owner's process id; not written for "released"
};
void to_json(Json& j, const OwnerEvent& event);
void printJson(const OwnerEvent& event);

#endif
