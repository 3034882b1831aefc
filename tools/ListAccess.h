#ifndef V2XSHM_TOOLS_LISTACCESS_H
#define V2XSHM_TOOLS_LISTACCESS_H

#include "ToolCommon.h"

// Reading and writing a list as a non-owner from a command, safely.

// The list's owner is running and its segment is large enough to attach:
// only then may a non-owner manager be made (it would otherwise create the
// segment, fail to attach, or wait for a lock nobody frees). Otherwise
// prints why and returns false.
bool listReady(const ListInfo& list);
// The same for a list of the segment map, by name.
bool listReady(const char* name);

// Runs one transfer under the lock guard of `name`; fn's return code.
template <typename Fn>
int guarded(const char* name, Fn fn)
{
    guardLockWait(name);
    int rc = fn();
    releaseLockGuard();
    return rc;
}

#endif
