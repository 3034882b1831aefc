#include "localmap/LMPhaseExtend.h"

#include <exception>

#include "localmap/LMRecordTool.h"

int LMPhaseExtend::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        if (!LMRecordTool::decodeBase<LMPhaseBase>(buf, &p, this)
            || !LMRecordTool::decodeGroup<LMPhaseStateBase>(buf, &p, &phaseStates)) {
            return -2;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMPhaseExtend::Obj2Buff(char* buf, int* pos) const
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    int p = *pos;
    LMRecordTool::writeImage<LMPhaseBase>(buf, &p, *this);
    if (LMRecordTool::writeGroup(buf, &p, phaseStates) < 0) {
        return -1;
    }
    int written = p - *pos;
    *pos = p;
    return written;
}

int LMPhaseExtend::buffer2Obj(const char* buf, int* pos)
{
    return buffer2Obj(buf, pos, LMRecordTool::NO_END);
}

int LMPhaseExtend::buffer2Obj(const char* buf, int* pos, int end)
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    try {
        int p = *pos;
        if (!LMRecordTool::readImage<LMPhaseBase>(buf, &p, end, this)
            || !LMRecordTool::readGroup<LMPhaseStateBase>(buf, &p, end, &phaseStates)) {
            return -1;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMPhaseExtend::flatSize() const
{
    return (int)sizeof(LMPhaseBase) + LMRecordTool::groupSize(phaseStates);
}
