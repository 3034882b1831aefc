#include "ptc/TargetBase.h"

TargetBase::TargetBase() : tgtType(0), angle(0.0), distance(DISTANCE_NONE) {}
