#include "shm/DevConfigMng.h"

#include <cstring>
#include <exception>

DevConfigMng::DevConfigMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

std::string DevConfigMng::keyOf(const ConfigInfo& info)
{
    // A 16-character key fills its field without a terminator.
    return std::string(info.key, strnlen(info.key, ConfigInfo::KEY_LEN));
}

int DevConfigMng::commit()
{
    if (configs.size() > (size_t)DevConfigListInShm::capacity) {
        return -1;
    }
    DevConfigListInShm list;
    for (const auto& entry : configs) {
        list.items[list.count] = entry.second;
        list.count = list.count + 1;
    }
    return commit2SHM(&list, sizeof list);
}

int DevConfigMng::update()
{
    DevConfigListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    try {
        configs.clear();
        for (int i = 0; i < list.validCount(); ++i) {
            configs[keyOf(list.items[i])] = list.items[i];
        }
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

int DevConfigMng::getValueByKey(const char* key, void* out)
{
    if (key == nullptr) {
        return -1;
    }
    try {
        auto found = configs.find(key);
        if (found == configs.end()) {
            return -1;
        }
        return found->second.getValue(out);
    } catch (const std::exception&) {
        return -1;
    }
}

int DevConfigMng::insertConfig(const char* key, ConfigInfo::DataType type, const void* value)
{
    if (key == nullptr) {
        return -1;
    }
    size_t keyLen = strnlen(key, ConfigInfo::KEY_LEN + 1);
    if (keyLen == 0 || keyLen > (size_t)ConfigInfo::KEY_LEN) {
        return -1;
    }
    ConfigInfo info;
    if (info.setValue(key, type, value) < 0) {
        return -2;
    }
    try {
        configs[std::string(key, keyLen)] = info;
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

namespace {

// Byte-wise key order, as the map of the local copy orders its keys.
int compareKeys(const ConfigInfo& a, const ConfigInfo& b)
{
    return strncmp(a.key, b.key, ConfigInfo::KEY_LEN);
}

}  // namespace

int DevConfigMng::insertConfig2SHM(void* shm, void* entry)
{
    DevConfigListInShm* list = (DevConfigListInShm*)shm;
    const ConfigInfo* info = (const ConfigInfo*)entry;
    int n = list->validCount();

    // The list is rewritten in place, and a writer can be killed at any
    // point while it holds the lock. Every step below therefore leaves all
    // entries of the list there, at worst one of them twice side by side,
    // so that no acknowledged setting is ever lost. A list that is not in
    // order (not written by this manager) is rebuilt whole instead.
    for (int i = 1; i < n; ++i) {
        if (compareKeys(list->items[i - 1], list->items[i]) > 0) {
            return rebuildConfigList(list, info);
        }
    }
    // An entry twice side by side, left by a writer killed halfway: close the
    // gap from the left, the later copy winning as it does when read.
    for (int i = 1; i < n;) {
        if (compareKeys(list->items[i - 1], list->items[i]) != 0) {
            ++i;
            continue;
        }
        for (int k = i - 1; k < n - 1; ++k) {
            list->items[k] = list->items[k + 1];
        }
        n = n - 1;
        list->count = n;
    }

    int at = 0;
    while (at < n && compareKeys(list->items[at], *info) < 0) {
        ++at;
    }
    if (at < n && compareKeys(list->items[at], *info) == 0) {
        list->items[at] = *info;
        return 1;
    }
    if (n >= DevConfigListInShm::capacity) {
        return -1;
    }
    // Open a slot at the end first, then move the entries after the new one
    // up by one, from the back.
    list->items[n] = at < n ? list->items[n - 1] : *info;
    list->count = n + 1;
    if (at < n) {
        for (int k = n - 1; k > at; --k) {
            list->items[k] = list->items[k - 1];
        }
        list->items[at] = *info;
    }
    return 1;
}

int DevConfigMng::rebuildConfigList(DevConfigListInShm* list, const ConfigInfo* info)
{
    std::map<std::string, ConfigInfo> merged;
    for (int i = 0; i < list->validCount(); ++i) {
        merged[keyOf(list->items[i])] = list->items[i];
    }
    merged[keyOf(*info)] = *info;
    if (merged.size() > (size_t)DevConfigListInShm::capacity) {
        return -1;
    }

    // Entries beyond the new count are left as they were.
    list->count = 0;
    for (const auto& kv : merged) {
        list->items[list->count] = kv.second;
        list->count = list->count + 1;
    }
    return 1;
}
