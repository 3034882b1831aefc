#include "status/DevUIClientMng.h"

#include <cstring>
#include <exception>

DevUIClientMng::DevUIClientMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int DevUIClientMng::update()
{
    DevUIClientListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    try {
        std::vector<UIClient> fresh(list.items, list.items + list.validCount());
        clients.swap(fresh);
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

int DevUIClientMng::insert1Client(void* shm, void* client)
{
    if (shm == nullptr || client == nullptr) {
        return -1;
    }
    DevUIClientListInShm* list = static_cast<DevUIClientListInShm*>(shm);
    UIClient incoming;
    memcpy(&incoming, client, sizeof incoming);
    int count = list->validCount();
    for (int i = 0; i < count; ++i) {
        if (list->items[i].isSameClient(incoming)) {
            return 1;
        }
    }
    if (count >= DevUIClientListInShm::capacity) {
        list->count = count;
        return 2;
    }
    memcpy(&list->items[count], &incoming, sizeof incoming);
    list->count = count + 1;
    return 2;
}

int DevUIClientMng::delete1Client(void* shm, void* client)
{
    if (shm == nullptr || client == nullptr) {
        return -1;
    }
    DevUIClientListInShm* list = static_cast<DevUIClientListInShm*>(shm);
    UIClient leaving;
    memcpy(&leaving, client, sizeof leaving);
    DevUIClientListInShm kept;
    for (int i = 0; i < list->validCount(); ++i) {
        if (!list->items[i].isSameClient(leaving)) {
            kept.items[kept.count] = list->items[i];
            kept.count = kept.count + 1;
        }
    }
    memcpy(shm, &kept, sizeof kept);
    return 1;
}
