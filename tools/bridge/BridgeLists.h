#ifndef V2XSHM_TOOLS_BRIDGE_BRIDGELISTS_H
#define V2XSHM_TOOLS_BRIDGE_BRIDGELISTS_H

#include <map>
#include <string>
#include <vector>

#include "JsonText.h"

// What the bridge publishes: each chosen list as its JSON view, taken from
// the manager's local copy (the manager copies the segment under the list's
// lock and decodes it outside), and which of them changed since they were
// last published. Nothing here talks to the broker.

// The lists the bridge can publish, in publication order; "approach" is the
// vehicle's approach (location, signal state and speed advice), computed
// from the location, map, light and GNSS lists.
const std::vector<std::string>& bridgeLists();

// "" when the list's owner runs and its segment is whole, else why not:
// only then may a manager of it be made.
std::string ownerMissing(const char* list);

// The JSON view of `list` seen at `now` (wall-clock seconds). False, with
// the reason in *why, when the list has no running owner or did not decode;
// the segment is then neither created nor waited on.
bool listView(const std::string& list, double now, Json* doc, std::string* why);

// The document without the members "age" and "ageSeconds" anywhere in it:
// they grow by themselves while the list stays the same.
Json withoutAges(const Json& doc);

// The retained status of a running bridge: {"unit", "state": "online",
// "started" (wall-clock seconds), "lists", "periodMs"}.
Json statusDoc(const std::string& unit, double started, const std::vector<std::string>& lists, int periodMs);
// A refusal: {"topic" (null when not about one message), "reason", "time"}.
Json errorDoc(const std::string& topic, const std::string& reason, double now);

// Remembers what was last published for each list, to publish a list only
// when its view changed.
class ChangeTracker {
public:
    bool changed(const std::string& list, const Json& doc) const;
    void published(const std::string& list, const Json& doc);
    // Everything counts as changed again (after a reconnection).
    void forgetAll() { last_.clear(); }

private:
    std::map<std::string, std::string> last_;  // the view without ages, as text
};

#endif
