#include "localmap/LMMapRes.h"

LMMapRes::LMMapRes()
    : upstreamNodeId(0), nodeId(0), dis2StopLine(0.0), reserved(0), maxSpeed(0.0f), minSpeed(0.0f)
{
}
