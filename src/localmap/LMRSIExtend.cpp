#include "localmap/LMRSIExtend.h"

#include <exception>

#include "localmap/LMRecordTool.h"

int LMRSIExtend::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        if (!LMRecordTool::decodeBase<LMRSIBase>(buf, &p, this)
            || !LMRecordTool::decodeGroup<LMPointBase>(buf, &p, &points)) {
            return -2;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMRSIExtend::Obj2Buff(char* buf, int* pos) const
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    int p = *pos;
    LMRecordTool::writeImage<LMRSIBase>(buf, &p, *this);
    if (LMRecordTool::writeGroup(buf, &p, points) < 0) {
        return -1;
    }
    int written = p - *pos;
    *pos = p;
    return written;
}

int LMRSIExtend::buffer2Obj(const char* buf, int* pos)
{
    return buffer2Obj(buf, pos, LMRecordTool::NO_END);
}

int LMRSIExtend::buffer2Obj(const char* buf, int* pos, int end)
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    try {
        int p = *pos;
        if (!LMRecordTool::readImage<LMRSIBase>(buf, &p, end, this)
            || !LMRecordTool::readGroup<LMPointBase>(buf, &p, end, &points)) {
            return -1;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMRSIExtend::flatSize() const
{
    return (int)sizeof(LMRSIBase) + LMRecordTool::groupSize(points);
}

int LMRSIExtend::copyObj(const LMRSIExtend& from)
{
    static_cast<LMRSIBase&>(*this) = from;
    try {
        points.clear();
        for (const LMPointBase& point : from.points) {
            points.push_back(point);
        }
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}
