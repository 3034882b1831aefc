#ifndef V2XSHM_STATUS_DEVUICLIENTMNG_H
#define V2XSHM_STATUS_DEVUICLIENTMNG_H

#include <vector>

#include "shm/CountedList.h"
#include "shm/IFSHM.h"
#include "status/UIClient.h"

// The registered user-interface clients as kept in their segment, entries
// 0..count-1 valid, in order of registration.
struct DevUIClientListInShm : public CountedList<UIClient, 64> {};
static_assert(sizeof(DevUIClientListInShm) == 3076, "shared layout changed");

// Keeps the user-interface clients connected to the device in their shared
// list (key 77104), so that every process sees who is connected. Clients are
// added and removed in the segment with insert1Client and delete1Client;
// there is no commit. One object per thread.
class DevUIClientMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77104;
    static constexpr int SHM_SIZE = 3076;

    explicit DevUIClientMng(bool isOwner);

    // Replaces `clients` with the list's entries in order. 1, or -1 keeping it.
    int update() override;

    // Callback for operateSHMNotSafe: registers one UIClient (client). 1 when
    // a client with the same identity is already listed (nothing changes, its
    // stamp is not renewed); 2 when added at the end, and 2 as well, with
    // nothing added, when the list already holds 64: a caller that must tell
    // them apart compares the count. -1 for a null argument. A count out of
    // range in the segment is clamped to 0..64 first.
    static int insert1Client(void* shm, void* client);
    // Callback for operateSHMNotSafe: removes every entry with the client's
    // identity, keeping the others in order, and rewrites the whole list
    // (slots after the new count hold default clients). 1, also when none
    // matched; -1 for a null argument (nothing changed).
    static int delete1Client(void* shm, void* client);

    std::vector<UIClient> clients;  // the local copy, in list order
};

#endif
