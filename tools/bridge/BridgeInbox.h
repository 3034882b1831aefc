#ifndef V2XSHM_TOOLS_BRIDGE_BRIDGEINBOX_H
#define V2XSHM_TOOLS_BRIDGE_BRIDGEINBOX_H

#include <set>
#include <string>
#include <vector>

// What the bridge takes in from the broker: received map, light and RSI
// messages (big-endian, as from the air) for the unit's lists, and
// configuration entries on an allow-list. Nothing here talks to the broker.

// The topics the bridge subscribes to for `unit`: its own v2x/UNIT/in/...
// and the fleet-wide v2x/all/in/....
std::vector<std::string> inboxTopics(const std::string& unit);

// The source the RSI records taken in are marked with.
extern const char* const BRIDGE_RSI_SOURCE;

// One message taken in: "" when it went into its list, else why it was
// refused, with nothing written. Payloads are checked whole before any list
// is touched; a configuration entry ({"key", "type", "value"}) is written
// only when its key is in `allowedKeys`.
std::string takeIn(const std::string& unit, const std::set<std::string>& allowedKeys, const std::string& topic,
                   const std::vector<char>& payload);

#endif
