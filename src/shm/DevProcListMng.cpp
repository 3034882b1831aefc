#include "shm/DevProcListMng.h"

#include <cstring>
#include <exception>

namespace {

std::string nameOf(const ProcInfo& info)
{
    // A 16-character name fills its field without a terminator.
    return std::string(info.procName, strnlen(info.procName, ProcInfo::TEXT_LEN));
}

}  // namespace

DevProcListMng::DevProcListMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int DevProcListMng::commit()
{
    if (procs.size() > (size_t)DevProcListInShm::capacity) {
        return -1;
    }
    DevProcListInShm list;
    for (const auto& entry : procs) {
        list.items[list.count] = entry.second;
        list.count = list.count + 1;
    }
    return commit2SHM(&list, sizeof list);
}

int DevProcListMng::update()
{
    DevProcListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    try {
        procs.clear();
        for (int i = 0; i < list.validCount(); ++i) {
            procs[nameOf(list.items[i])] = list.items[i];
        }
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

int DevProcListMng::refreshProcInList(void* shm, void* block)
{
    DevProcListInShm* list = (DevProcListInShm*)shm;
    const ProcFeedBlock* feed = (const ProcFeedBlock*)block;
    if (feed == nullptr) {
        return 1;
    }
    int count = list->validCount();
    for (int i = 0; i < count; ++i) {
        if (memcmp(list->items[i].procName, feed->procName, ProcInfo::TEXT_LEN) == 0) {
            list->items[i].refreshTime();
            return 1;
        }
    }
    if (count >= DevProcListInShm::capacity) {
        return 1;
    }
    // The block's fields are zero-padded, so the copy equals setInfo's result
    // also for a name that fills all 16 bytes.
    ProcInfo entry;
    memcpy(entry.procName, feed->procName, ProcInfo::TEXT_LEN);
    memcpy(entry.procTag, feed->procTag, ProcInfo::TEXT_LEN);
    entry.refreshTime();
    list->items[count] = entry;
    list->count = count + 1;
    return 1;
}
