#include "localmap/LMMapResMng.h"

LMMapResMng::LMMapResMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int LMMapResMng::commit()
{
    return commit2SHM(&mapRes, sizeof mapRes);
}

int LMMapResMng::update()
{
    LMMapRes read;
    if (updateFromSHM(&read, sizeof read) < 0) {
        return -1;
    }
    mapRes = read;
    return 1;
}
