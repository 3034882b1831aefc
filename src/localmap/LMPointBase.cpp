#include "localmap/LMPointBase.h"

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"

LMPointBase::LMPointBase() : dis2End(0.0) {}

int LMPointBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    if (!LMRecordTool::readPosition(buf, &p, this)) {
        return -1;
    }
    // A stale distance from an earlier shape must not survive a new point.
    dis2End = 0.0;
    int used = p - *pos;
    *pos = p;
    return used;
}

LMSpeedLimitBase::LMSpeedLimitBase() : type(0), speed(0.0f) {}

int LMSpeedLimitBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    type = (uint8_t)buf[p++];
    float s = 0.0f;
    if (SerializeTool::Byte2Float(buf, &p, &s) != 4) {
        return -1;
    }
    speed = s;
    int used = p - *pos;
    *pos = p;
    return used;
}
