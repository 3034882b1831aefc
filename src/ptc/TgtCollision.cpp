#include "ptc/TgtCollision.h"

TgtCollision::TgtCollision() : collision(COLLISION_NONE) {}
