#include "ptc/TgtCollisionMng.h"

#include <cstring>
#include <exception>

TgtCollisionMng::TgtCollisionMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag) {}

int TgtCollisionMng::commit()
{
    TgtCollisionListInShm list;
    int n = collisions.size() < (size_t)CAPACITY ? (int)collisions.size() : CAPACITY;
    if (n > 0) {
        memcpy((void*)list.items, (const void*)collisions.data(), (size_t)n * sizeof(TgtCollision));
    }
    list.count = n;
    return commit2SHM(&list, sizeof list);
}

int TgtCollisionMng::update()
{
    TgtCollisionListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    try {
        collisions.assign(list.items, list.items + list.validCount());
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

int TgtCollisionMng::insertTgt(GNSS&, IF_PTCBase* ptc, double collision, double angle, double distance,
                               unsigned char tgtType, VehClass* vehClass)
{
    if (ptc == nullptr) {
        return -1;
    }
    TargetBase tgt;
    memcpy((void*)&tgt, (const void*)ptc, sizeof(IF_PTCBase));
    tgt.tgtType = tgtType;
    if (vehClass != nullptr) {
        tgt.vehClass = *vehClass;
    }
    tgt.angle = angle;
    tgt.distance = distance;
    TgtCollision rec;
    memcpy((void*)&rec, (const void*)&tgt, sizeof(TargetBase));
    rec.collision = collision;
    try {
        collisions.push_back(rec);
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}
