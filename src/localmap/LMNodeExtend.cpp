#include "localmap/LMNodeExtend.h"

#include <exception>
#include <utility>

#include "localmap/LMRecordTool.h"

int LMNodeExtend::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        if (!LMRecordTool::decodeBase<LMNodeBase>(buf, &p, this)
            || !LMRecordTool::decodeGroup<LMLinkExtend>(buf, &p, &links)) {
            return -2;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeExtend::Obj2Buff(char* buf, int* pos) const
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    int p = *pos;
    LMRecordTool::writeImage<LMNodeBase>(buf, &p, *this);
    if (LMRecordTool::writeGroup(buf, &p, links) < 0) {
        return -1;
    }
    int written = p - *pos;
    *pos = p;
    return written;
}

int LMNodeExtend::buffer2Obj(const char* buf, int* pos)
{
    return buffer2Obj(buf, pos, LMRecordTool::NO_END);
}

int LMNodeExtend::buffer2Obj(const char* buf, int* pos, int end)
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    try {
        int p = *pos;
        if (!LMRecordTool::readImage<LMNodeBase>(buf, &p, end, this)
            || !LMRecordTool::readGroup<LMLinkExtend>(buf, &p, end, &links)) {
            return -1;
        }
        int used = p - *pos;
        *pos = p;
        return used;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeExtend::flatSize() const
{
    return (int)sizeof(LMNodeBase) + LMRecordTool::groupSize(links);
}

int LMNodeExtend::merge(LMNodeExtend other)
{
    try {
        static_cast<LMNodeBase&>(*this) = other;
        for (auto& entry : other.links) {
            auto found = links.find(LMRecordTool::keyOf(entry.second));
            if (found != links.end()) {
                if (found->second.merge(std::move(entry.second)) < 0) {
                    return -1;
                }
            } else {
                LMRecordTool::put(&links, entry.second);
            }
        }
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMNodeExtend::removeNodeRelatedData(int64_t nodeId)
{
    if (this->nodeId == nodeId) {
        return 1;
    }
    links.erase(nodeId);
    for (auto& entry : links) {
        entry.second.removeNodeRelatedData(nodeId);
    }
    return 1;
}
