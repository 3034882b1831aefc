#include "ptc/PtcRSUListMng.h"

#include <cstring>

PtcRSUListMng::PtcRSUListMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag) {}

bool PtcRSUListMng::same(const RSU& a, const RSU& b)
{
    return strncmp(a.id, b.id, IF_PTCBase::ID_LEN) == 0;
}

int PtcRSUListMng::update()
{
    return Tool::update(*this, &rsus);
}

int PtcRSUListMng::refreshList(void* list, void*)
{
    return Tool::refreshAt(list, TimeTool::getPreciseTimeNow());
}

int PtcRSUListMng::insertUpdateList(void* list, void* record)
{
    return Tool::insertUpdate(list, (RSU*)record);
}

int PtcRSUListMng::insertUpdateListMulti(void* list, void* records)
{
    if (records == nullptr) {
        return -1;
    }
    int result = 1;
    for (RSU& rec : *(std::vector<RSU>*)records) {
        if (Tool::insertUpdate(list, &rec) < 0) {
            result = -1;
        }
    }
    return result;
}
