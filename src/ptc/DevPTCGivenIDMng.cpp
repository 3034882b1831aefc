#include "ptc/DevPTCGivenIDMng.h"

#include <cstdint>
#include <cstring>

DevPTCGivenIDMng::DevPTCGivenIDMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag) {}

int DevPTCGivenIDMng::update()
{
    return 1;
}

unsigned short DevPTCGivenIDMng::getPTCGivenID()
{
    uint16_t result = 0;
    operateSHMNotSafe(getNextID, &result);
    return result;
}

int DevPTCGivenIDMng::getNextID(void* shm, void* out)
{
    if (out == nullptr) {
        return -1;
    }
    uint16_t value;
    memcpy(&value, shm, sizeof value);
    value = (uint16_t)(value + 1);
    memcpy(shm, &value, sizeof value);
    memcpy(out, &value, sizeof value);
    return 1;
}
