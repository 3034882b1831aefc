#include "localmap/LMTLPhaseResMng.h"

#include "localmap/LMResultListTool.h"

LMTLPhaseResMng::LMTLPhaseResMng(bool isOwner) : IF_SHM(SHM_KEY, SHM_SIZE, isOwner) {}

int LMTLPhaseResMng::commit()
{
    LMTLPhaseListInShm list;
    LMResultListTool::fill(&list, phaseResults);
    return commit2SHM(&list, sizeof list);
}

int LMTLPhaseResMng::update()
{
    LMTLPhaseListInShm list;
    if (updateFromSHM(&list, sizeof list) < 0) {
        return -1;
    }
    return LMResultListTool::read(list, &phaseResults);
}
