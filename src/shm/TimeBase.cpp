#include "shm/TimeBase.h"

#include <cstring>

TimeBase::TimeBase()
{
    memset(this, 0, sizeof(TimeBase));
}
