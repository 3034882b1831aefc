#include "ptc/TargetMng.h"

#include <cstring>
#include <exception>

#include "space/SpaceToolGeo.h"

TargetMng::TargetMng(int key, bool flag) : IF_SHM(key, SHM_SIZE, flag) {}

int TargetMng::commit()
{
    TargetListInShm list;
    int n = targets.size() < (size_t)CAPACITY ? (int)targets.size() : CAPACITY;
    if (n > 0) {
        memcpy((void*)list.items, (const void*)targets.data(), (size_t)n * sizeof(TargetBase));
    }
    list.count = n;
    return commit2SHM(&list, sizeof list);
}

int TargetMng::update()
{
    TargetListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    try {
        targets.assign(list.items, list.items + list.validCount());
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

int TargetMng::insertTgt(GNSS& own, IF_PTCBase* ptc, unsigned char tgtType, VehClass* vehClass)
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
    GeoCoordinates ownPos = own.position;
    GeoCoordinates tgtPos = ptc->gnss.position;
    tgt.distance = SpaceToolGeo::DistancePoint2Point(ownPos, tgtPos);
    tgt.angle = SpaceToolGeo::AngleOfTarget(ownPos, own.motion.heading, tgtPos);
    try {
        targets.push_back(tgt);
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}
