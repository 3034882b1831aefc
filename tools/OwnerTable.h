#ifndef V2XSHM_TOOLS_OWNERTABLE_H
#define V2XSHM_TOOLS_OWNERTABLE_H

#include <memory>

#include "ToolCommon.h"
#include "shm/IFSHM.h"

// Makes the owning manager of `list`: the list's real manager class where the
// table in OwnerTable.cpp names one, otherwise a plain owner of a segment of
// the list's key and size. The owner clears the segment and frees its lock
// now and removes both when the returned object is destroyed.
std::unique_ptr<IF_SHM> makeOwnerManager(const ListInfo& list);

#endif
