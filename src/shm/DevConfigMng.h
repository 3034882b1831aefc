#ifndef V2XSHM_SHM_DEVCONFIGMNG_H
#define V2XSHM_SHM_DEVCONFIGMNG_H

#include <map>
#include <string>

#include "shm/ConfigInfo.h"
#include "shm/CountedList.h"
#include "shm/IFSHM.h"

// The configuration list as kept in its segment: entries 0..count-1 valid,
// in ascending byte order of their keys.
struct DevConfigListInShm : public CountedList<ConfigInfo, 128> {};
static_assert(sizeof(DevConfigListInShm) == 6660, "shared layout changed");

// Keeps the device's settings in their shared list (key 77102). A process
// edits its local map and commits it whole, or inserts one entry straight
// into the segment with insertConfig2SHM; readers update and look up by key.
// One object per thread: the local map is not locked.
class DevConfigMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77102;
    static constexpr int SHM_SIZE = 6660;

    explicit DevConfigMng(bool isOwner);

    // Writes the local map, in key order, over the whole list. 1, or -1 when
    // the map holds more than 128 entries (nothing written).
    int commit();
    // Replaces the local map from the segment. 1, or -1 keeping the map.
    int update() override;

    // Looks key up in the local map and copies its value to out.
    // 1; -1 when the key is not in the map; -2 when its stored type is invalid.
    int getValueByKey(const char* key, void* out);
    // Sets an entry in the local map only. 1; -1 bad key; -2 bad type.
    int insertConfig(const char* key, ConfigInfo::DataType type, const void* value);

    // Callback for operateSHMNotSafe: puts one ConfigInfo (arg) into the list,
    // replacing an entry with the same key and keeping the list sorted.
    // 1; -1 when a new key would not fit in the 128 slots (list unchanged).
    // A writer killed inside it loses no entry: at worst one entry is left
    // twice side by side, and the next insert closes that gap.
    static int insertConfig2SHM(void* shm, void* entry);

    std::map<std::string, ConfigInfo> configs;  // the local copy, by key text

private:
    static std::string keyOf(const ConfigInfo& info);
    // Puts the entry into a list that is not in key order, rewriting it whole.
    static int rebuildConfigList(DevConfigListInShm* list, const ConfigInfo* info);
};

#endif
