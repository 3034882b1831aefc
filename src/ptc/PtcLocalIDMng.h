#ifndef V2XSHM_PTC_PTCLOCALIDMNG_H
#define V2XSHM_PTC_PTCLOCALIDMNG_H

#include <cstdint>
#include <pthread.h>

// Hands out the local identifiers that the participant lists give a
// participant when it is first listed. The counter lives in each process
// (two processes both start at 1) and is shared by its threads under `mut`;
// the lists take `mut` while holding their semaphore.
class PtcLocalIDMng {
public:
    // The next identifier: 1, 2, ..., 65535, then 1 again; never 0.
    static unsigned short getNextLocalID();

    static uint16_t next_id;       // the value to hand out next; starts at 1
    static pthread_mutex_t mut;
};

#endif
