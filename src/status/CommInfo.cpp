#include "status/CommInfo.h"

#include <cstring>

CommInfo::CommInfo() : commType(0), peerId(0), length(0)
{
    memset(reserved, 0, sizeof reserved);
    memset(detail, 0, sizeof detail);
}
