#include "localmap/LMRSIResMng.h"

#include "localmap/LMResultListTool.h"

LMRSIResMng::LMRSIResMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int LMRSIResMng::commit()
{
    LMRSIListInShm list;
    LMResultListTool::fill(&list, rsiResults);
    return commit2SHM(&list, sizeof list);
}

int LMRSIResMng::update()
{
    LMRSIListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    return LMResultListTool::read(list, &rsiResults);
}
