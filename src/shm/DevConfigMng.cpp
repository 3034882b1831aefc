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

int DevConfigMng::insertConfig2SHM(void* shm, void* entry)
{
    DevConfigListInShm* list = (DevConfigListInShm*)shm;
    const ConfigInfo* info = (const ConfigInfo*)entry;

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
