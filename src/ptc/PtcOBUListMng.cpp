#include "ptc/PtcOBUListMng.h"

#include <cstring>

PtcOBUListMng::PtcOBUListMng(bool flag) : IF_SHM(SHM_KEY, SHM_SIZE, flag) {}

bool PtcOBUListMng::same(const OBU& a, const OBU& b)
{
    return strncmp(a.id, b.id, IF_PTCBase::ID_LEN) == 0;
}

int PtcOBUListMng::update()
{
    return Tool::update(*this, &obus);
}

int PtcOBUListMng::refreshList(void* list, void*)
{
    return Tool::refreshAt(list, TimeTool::getPreciseTimeNow());
}

int PtcOBUListMng::insertUpdateList(void* list, void* record)
{
    return Tool::insertUpdate(list, (OBU*)record);
}
