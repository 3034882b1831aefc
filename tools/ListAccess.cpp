#include "ListAccess.h"

bool listReady(const ListInfo& list)
{
    if (!requireOwner(list)) {
        return false;
    }
    ListProbe probe = probeList(list);
    if (probe.segmentSize < list.size) {
        failure(std::string("segment of list ") + list.name + " (key " + std::to_string(list.key) + ") has " +
                std::to_string(probe.segmentSize) + " bytes, the list needs " + std::to_string(list.size));
        return false;
    }
    return true;
}

bool listReady(const char* name)
{
    return listReady(*findList(name));
}
