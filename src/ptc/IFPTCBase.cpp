#include "ptc/IFPTCBase.h"

#include <cstring>

IF_PTCBase::IF_PTCBase() : localID(0)
{
    memset(id, 0, sizeof id);
}
