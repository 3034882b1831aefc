#include "localmap/LMLinkExtend.h"

#include <exception>
#include <utility>

#include "localmap/LMRecordTool.h"
#include "space/SpaceToolGeo.h"

int LMLinkExtend::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    try {
        int p = *pos + 2;
        if (!LMRecordTool::decodeBase<LMLinkBase>(buf, &p, this)
            || !LMRecordTool::decodeGroup<LMLaneExtend>(buf, &p, &lanes)
            || !LMRecordTool::decodeGroup<LMSpeedLimitBase>(buf, &p, &speedLimits)
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

int LMLinkExtend::Obj2Buff(char* buf, int* pos) const
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    int p = *pos;
    LMRecordTool::writeImage<LMLinkBase>(buf, &p, *this);
    if (LMRecordTool::writeGroup(buf, &p, lanes) < 0 || LMRecordTool::writeGroup(buf, &p, speedLimits) < 0
        || LMRecordTool::writeGroup(buf, &p, points) < 0 || LMRecordTool::writeGroup(buf, &p, movements) < 0) {
        return -1;
    }
    int written = p - *pos;
    *pos = p;
    return written;
}

int LMLinkExtend::buffer2Obj(const char* buf, int* pos)
{
    return buffer2Obj(buf, pos, LMRecordTool::NO_END);
}

int LMLinkExtend::buffer2Obj(const char* buf, int* pos, int end)
{
    if (buf == nullptr || pos == nullptr) {
        return -1;
    }
    try {
        int p = *pos;
        if (!LMRecordTool::readImage<LMLinkBase>(buf, &p, end, this)
            || !LMRecordTool::readGroup<LMLaneExtend>(buf, &p, end, &lanes)
            || !LMRecordTool::readGroup<LMSpeedLimitBase>(buf, &p, end, &speedLimits)
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

int LMLinkExtend::flatSize() const
{
    return (int)sizeof(LMLinkBase) + LMRecordTool::groupSize(lanes) + LMRecordTool::groupSize(speedLimits)
         + LMRecordTool::groupSize(points) + LMRecordTool::groupSize(movements);
}

int LMLinkExtend::merge(LMLinkExtend other)
{
    try {
        static_cast<LMLinkBase&>(*this) = other;
        for (auto& entry : other.lanes) {
            auto found = lanes.find(LMRecordTool::keyOf(entry.second));
            if (found != lanes.end()) {
                if (found->second.merge(std::move(entry.second)) < 0) {
                    return -1;
                }
            } else {
                LMRecordTool::put(&lanes, entry.second);
            }
        }
        speedLimits = std::move(other.speedLimits);
        points = std::move(other.points);
        for (const auto& entry : other.movements) {
            LMRecordTool::put(&movements, entry.second);
        }
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}

int LMLinkExtend::removeNodeRelatedData(int64_t nodeId)
{
    if (upstreamNodeId == nodeId) {
        return 1;
    }
    movements.erase(nodeId);
    for (auto& entry : lanes) {
        entry.second.movements.erase(nodeId);
    }
    return 1;
}

void LMLinkExtend::calcPointsDis2End()
{
    if (points.empty()) {
        return;
    }
    points.back().dis2End = 0.0;
    for (int i = (int)points.size() - 2; i >= 0; --i) {
        points[i].dis2End = points[i + 1].dis2End + SpaceToolGeo::DistancePoint2Point(points[i], points[i + 1]);
    }
}

float LMLinkExtend::getVehSpeedLimByType(uint8_t type, float defaultSpeed) const
{
    for (const LMSpeedLimitBase& limit : speedLimits) {
        if (limit.type == type) {
            return limit.speed;
        }
    }
    return defaultSpeed;
}
