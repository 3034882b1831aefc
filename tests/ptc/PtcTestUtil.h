#ifndef V2XSHM_TESTS_PTC_PTCTESTUTIL_H
#define V2XSHM_TESTS_PTC_PTCTESTUTIL_H

#include <cstdio>
#include <cstring>
#include <utility>

#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"

// A manager with its segment in view, for checks of the bytes around a list.
template <typename Mng>
class Seg : public Mng {
public:
    template <typename... Args>
    explicit Seg(Args... args) : Mng(args...) {}
    char* raw() const { return (char*)this->shmAddr; }
    int32_t storedCount() const
    {
        int32_t n;
        memcpy(&n, raw(), sizeof n);
        return n;
    }
    void setCount(int32_t n) { memcpy(raw(), &n, sizeof n); }
};

// Participant number i of a list, distinct by that list's key.
inline void makeParticipant(int i, PTC* p)
{
    p->ptcID = (uint16_t)i;
    p->source = 1;
    snprintf(p->sourceID, sizeof p->sourceID, "radar-%d", i / 1000);
    p->gnss.speed = (float)i;
}
inline void makeParticipant(int i, IF_PTCBase* p)
{
    snprintf(p->id, sizeof p->id, "dev-%d", i);
    p->gnss.speed = (float)i;
}

template <typename Mng, typename Rec>
int insertInto(Mng& mng, Rec* rec)
{
    return mng.operateSHMNotSafe(Mng::insertUpdateList, rec);
}

// Inserts participant number i (see insertUpdateList for the codes).
template <typename Mng>
int insertNumber(Mng& mng, int i)
{
    typename Mng::Tool::Rec rec;
    makeParticipant(i, &rec);
    return insertInto(mng, &rec);
}

#endif
