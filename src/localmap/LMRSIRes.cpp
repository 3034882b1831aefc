#include "localmap/LMRSIRes.h"

#include <cstring>

LMRSIRes::LMRSIRes() : valueByte1(0), valueByte2(0)
{
    memset(text, 0, sizeof text);
}
