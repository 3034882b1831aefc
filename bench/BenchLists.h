#ifndef V2XSHM_BENCH_BENCHLISTS_H
#define V2XSHM_BENCH_BENCHLISTS_H

// The owners of the local-map lists for the whole run, one per list across
// the benchmark files (a second owner would remove the list's semaphore
// twice at exit).
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

inline LMNodeListMng& nodeListOwner()
{
    static LMNodeListMng mng(true);
    return mng;
}

inline LMTLListMng& lightListOwner()
{
    static LMTLListMng mng(true);
    return mng;
}

inline LMRSIListMng& rsiListOwner()
{
    static LMRSIListMng mng(true);
    return mng;
}

#endif
