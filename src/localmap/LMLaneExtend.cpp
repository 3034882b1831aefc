#include "localmap/LMLaneExtend.h"

#include <exception>
#include <utility>

#include "localmap/LMRecordTool.h"

int LMLaneExtend::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        if (!LMRecordTool::decodeBase<LMLaneBase>(buf, &p, this)
            || !LMRecordTool::decodeGroup<LMPointBase>(buf, &p, &points)
            || !LMRecordTool::decodeGroup<LMMovementBase>(buf, &p, &movements)) {
            return -2;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMLaneExtend::Obj2Buff(char* buf, int* pos) const
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    int p = *pos;
    LMRecordTool::writeImage<LMLaneBase>(buf, &p, *this);
    if (LMRecordTool::writeGroup(buf, &p, points) < 0 || LMRecordTool::writeGroup(buf, &p, movements) < 0) {
        return -1;
    }
    int written = p - *pos;
    *pos = p;
    return written;
}

int LMLaneExtend::buffer2Obj(const char* buf, int* pos)
{
    return buffer2Obj(buf, pos, LMRecordTool::NO_END);
}

int LMLaneExtend::buffer2Obj(const char* buf, int* pos, int end)
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    try {
        int p = *pos;
        if (!LMRecordTool::readImage<LMLaneBase>(buf, &p, end, this)
            || !LMRecordTool::readGroup<LMPointBase>(buf, &p, end, &points)
            || !LMRecordTool::readGroup<LMMovementBase>(buf, &p, end, &movements)) {
            return -1;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMLaneExtend::flatSize() const
{
    return (int)sizeof(LMLaneBase) + LMRecordTool::groupSize(points) + LMRecordTool::groupSize(movements);
}

int LMLaneExtend::merge(LMLaneExtend other)
{
    try {
        static_cast<LMLaneBase&>(*this) = other;
        points = std::move(other.points);
        for (const auto& entry : other.movements) {
            LMRecordTool::put(&movements, entry.second);
        }
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}
