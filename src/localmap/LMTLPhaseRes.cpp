#include "localmap/LMTLPhaseRes.h"

#include <cstring>

LMTLPhaseRes::LMTLPhaseRes() : valueInt(0), valueByte1(0), valueByte2(0)
{
    memset(valueBytes1, 0, sizeof valueBytes1);
    memset(valueBytes2, 0, sizeof valueBytes2);
}
