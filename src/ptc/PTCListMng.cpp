#include "ptc/PTCListMng.h"

#include <cstring>

PTCListMng::PTCListMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag) {}

bool PTCListMng::same(const PTC& a, const PTC& b)
{
    return a.ptcID == b.ptcID && a.source == b.source && strncmp(a.sourceID, b.sourceID, PTC::TEXT_LEN) == 0;
}

int PTCListMng::update()
{
    return Tool::update(*this, &ptcs);
}

int PTCListMng::refreshList(void* list, void*)
{
    return Tool::refreshAt(list, TimeTool::getPreciseTimeNow());
}

int PTCListMng::insertUpdateList(void* list, void* record)
{
    return Tool::insertUpdate(list, (PTC*)record);
}

int PTCListMng::insertUpdateListMulti(void* list, void* records)
{
    if (records == nullptr) {
        return -1;
    }
    int result = 1;
    for (PTC& rec : *(std::vector<PTC>*)records) {
        if (Tool::insertUpdate(list, &rec) < 0) {
            result = -1;
        }
    }
    return result;
}
