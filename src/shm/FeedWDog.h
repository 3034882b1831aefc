#ifndef V2XSHM_SHM_FEEDWDOG_H
#define V2XSHM_SHM_FEEDWDOG_H

#include "shm/DevProcListMng.h"

// Feeds the process watchdog: a detached thread refreshes this process's
// entry in the process list every 30 s. `plm` is the process-wide manager
// of the list, attached (as non-owner) when this object is loaded; programs
// that link the static library and never name FeedWDog leave it out, and so
// attach nothing.
class FeedWDog {
public:
    static constexpr unsigned FEED_PERIOD_US = 30000000;

    // Starts the feeding thread for `name` and `tag` (each at most 15
    // characters; longer ones are cut to 16 bytes without a terminator). The
    // parameter block is kept for the life of the process. The first feed
    // comes one period after the start. 1, or -1 when the thread could not be
    // started (or the block could not be allocated).
    static int start_thr_FeedDog(const char* name, const char* tag);

    // Thread body: sleeps a period, then feeds through plm; ends when a
    // feed returns a negative value (an exception in the callback).
    static void* thr_FeedDog(void* param);

    // Callback for operateSHMNotSafe with a ProcFeedBlock: clears plm's local
    // map, then stamps or appends the block's entry (see
    // DevProcListMng::refreshProcInList). Returns 1.
    static int refreshOneProc(void* shm, void* param);

    static DevProcListMng plm;
};

#endif
