#include "ptc/PTC.h"

#include <cstring>

PTC::PTC() : ptcType(0), ptcID(0), source(0)
{
    memset(ptcAttr, 0, sizeof ptcAttr);
    memset(ptcText, 0, sizeof ptcText);
    memset(sourceID, 0, sizeof sourceID);
    memset(ptcExtra, 0, sizeof ptcExtra);
}
