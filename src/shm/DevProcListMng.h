#ifndef V2XSHM_SHM_DEVPROCLISTMNG_H
#define V2XSHM_SHM_DEVPROCLISTMNG_H

#include <map>
#include <string>

#include "shm/CountedList.h"
#include "shm/IFSHM.h"
#include "shm/ProcInfo.h"

// The process list as kept in its segment: entries 0..count-1 valid, in the
// order the processes first fed.
struct DevProcListInShm : public CountedList<ProcInfo, 64> {};
static_assert(sizeof(DevProcListInShm) == 2564, "shared layout changed");

#pragma pack(push, 1)
// What a feeding process says about itself at every feed: its name and tag,
// each in a zeroed 16-byte field.
struct ProcFeedBlock {
    char procName[ProcInfo::TEXT_LEN];
    char procTag[ProcInfo::TEXT_LEN];
};
#pragma pack(pop)
static_assert(sizeof(ProcFeedBlock) == 32, "feeding parameter block changed");

// Keeps the list of running processes with their last watchdog feed (key
// 77101). Every process feeds its own entry in place; the supervising
// process owns the list, updates and judges each entry's age. One object per
// thread: the local map is not locked.
class DevProcListMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77101;
    static constexpr int SHM_SIZE = 2564;

    explicit DevProcListMng(bool isOwner);

    // Writes the local map, in name order, over the whole list. 1, or -1
    // when the map holds more than 64 entries (nothing written).
    int commit();
    // Replaces the local map from the segment; two entries with one name
    // collapse into the later one. 1, or -1 keeping the map.
    int update() override;

    // Callback for operateSHMNotSafe with a ProcFeedBlock as arg: stamps the
    // first entry whose name equals the block's (byte for byte) with the time
    // now, or appends an entry for it at the end of the list. Returns 1. A
    // list that already holds 64 entries is left as it is (nothing is
    // written past the segment), and so is the list when arg is null.
    static int refreshProcInList(void* shm, void* block);

    std::map<std::string, ProcInfo> procs;  // the local copy, by name
};

#endif
