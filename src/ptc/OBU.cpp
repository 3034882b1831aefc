#include "ptc/OBU.h"

#include <cstring>

OBU::OBU()
{
    memset(obuExtra, 0, sizeof obuExtra);
}
