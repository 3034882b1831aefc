#include "space/VehTraceMng.h"

#include <cstring>
#include <iostream>

VehTraceMng::VehTraceMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag)
{
    if (flag) {
        operateSHMNotSafe(initVehTrace, nullptr);
    }
}

int VehTraceMng::update()
{
    return updateFromSHM(&trace, SHM_SIZE);
}

int VehTraceMng::insertOneGNSS2Trace(void* trace, void* gnss)
{
    if (trace == nullptr || gnss == nullptr) {
        return -1;
    }
    VehTrace* ring = static_cast<VehTrace*>(trace);
    int index = (ring->boundedIndex() + 1) % VehTrace::CAPACITY;
    int count = ring->boundedCount();
    ring->index = index;
    memcpy(&ring->trace[index], gnss, sizeof(GNSS));
    if (count < VehTrace::CAPACITY) {
        ++count;
    }
    ring->count = count;
    std::cout << "Add 1 GNSS to trace. Totally " << count << " , index = " << index << std::endl;
    return 1;
}

int VehTraceMng::initVehTrace(void* trace, void* /*arg*/)
{
    if (trace == nullptr) {
        return -1;
    }
    VehTrace* ring = static_cast<VehTrace*>(trace);
    ring->index = 0;
    ring->count = 0;
    return 1;
}
