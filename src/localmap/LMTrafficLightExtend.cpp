#include "localmap/LMTrafficLightExtend.h"

#include <exception>

#include "localmap/LMRecordTool.h"

int LMTrafficLightExtend::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        if (!LMRecordTool::decodeBase<LMTrafficLightBase>(buf, &p, this)
            || !LMRecordTool::decodeGroup<LMPhaseExtend>(buf, &p, &phases)) {
            return -2;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMTrafficLightExtend::Obj2Buff(char* buf, int* pos) const
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    int p = *pos;
    LMRecordTool::writeImage<LMTrafficLightBase>(buf, &p, *this);
    if (LMRecordTool::writeGroup(buf, &p, phases) < 0) {
        return -1;
    }
    int written = p - *pos;
    *pos = p;
    return written;
}

int LMTrafficLightExtend::buffer2Obj(const char* buf, int* pos)
{
    return buffer2Obj(buf, pos, LMRecordTool::NO_END);
}

int LMTrafficLightExtend::buffer2Obj(const char* buf, int* pos, int end)
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    try {
        int p = *pos;
        if (!LMRecordTool::readImage<LMTrafficLightBase>(buf, &p, end, this)
            || !LMRecordTool::readGroup<LMPhaseExtend>(buf, &p, end, &phases)) {
            return -1;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMTrafficLightExtend::flatSize() const
{
    return (int)sizeof(LMTrafficLightBase) + LMRecordTool::groupSize(phases);
}
