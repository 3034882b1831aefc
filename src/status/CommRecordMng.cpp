#include "status/CommRecordMng.h"

#include <cstring>

CommRecordMng::CommRecordMng(int key, bool isOwner) : IF_SHM(key, SHM_SIZE, isOwner)
{
    if (isOwner) {
        operateSHMNotSafe(initCommRecord, nullptr);
    }
}

int CommRecordMng::update()
{
    return updateFromSHM(&record, sizeof record);
}

int CommRecordMng::insertOneInfo2Record(void* shm, void* info)
{
    if (shm == nullptr || info == nullptr) {
        return -1;
    }
    CommRecord* rec = static_cast<CommRecord*>(shm);
    int slot = (rec->validLatestIndex() + 1) % CommRecord::CAPACITY;
    memcpy(&rec->infos[slot], info, sizeof(CommInfo));
    rec->latestIndex = slot;
    int count = rec->validCount();
    rec->count = count < CommRecord::CAPACITY ? count + 1 : count;
    return 1;
}

int CommRecordMng::initCommRecord(void* shm, void*)
{
    if (shm == nullptr) {
        return -1;
    }
    CommRecord* rec = static_cast<CommRecord*>(shm);
    rec->latestIndex = 0;
    rec->count = 0;
    return 1;
}
