#include "space/DevGNSSMng.h"

DevGNSSMng::DevGNSSMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag) {}

int DevGNSSMng::commit()
{
    return commit2SHM(&gnss, SHM_SIZE);
}

int DevGNSSMng::update()
{
    return updateFromSHM(&gnss, SHM_SIZE);
}
