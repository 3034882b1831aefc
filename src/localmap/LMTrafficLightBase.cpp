#include "localmap/LMTrafficLightBase.h"

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"

namespace {

// A big-endian float at *p, handed to set (packed members take values only).
template <typename Set>
bool readFloat(const char* buf, int* p, Set set)
{
    float value = 0.0f;
    if (SerializeTool::Byte2Float(buf, p, &value) != 4) {
        return false;
    }
    set(value);
    return true;
}

}  // namespace

LMPhaseStateBase::LMPhaseStateBase()
    : light(0), startTime(NO_TIME), minEndTime(NO_TIME), maxEndTime(NO_TIME), likelyEndTime(NO_TIME),
      timeConfidence(0), nextStartTime(NO_TIME), nextDuration(NO_TIME)
{
}

int LMPhaseStateBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    light = (uint8_t)buf[p++];
    if (!readFloat(buf, &p, [this](float v) { startTime = v; })
        || !readFloat(buf, &p, [this](float v) { minEndTime = v; })
        || !readFloat(buf, &p, [this](float v) { maxEndTime = v; })
        || !readFloat(buf, &p, [this](float v) { likelyEndTime = v; })) {
        return -1;
    }
    timeConfidence = (uint8_t)buf[p++];
    if (!readFloat(buf, &p, [this](float v) { nextStartTime = v; })
        || !readFloat(buf, &p, [this](float v) { nextDuration = v; })) {
        return -1;
    }
    int used = p - *pos;
    *pos = p;
    return used;
}

LMPhaseBase::LMPhaseBase() : phaseID(0), phaseAttr(0) {}

int LMPhaseBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    phaseID = (uint8_t)buf[p++];
    phaseAttr = (uint8_t)buf[p++];
    int used = p - *pos;
    *pos = p;
    return used;
}

LMTrafficLightBase::LMTrafficLightBase() : id(0), status{0, 0}, timeStamp(0), timeConfidence(0) {}

int LMTrafficLightBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    long long value = 0;
    if (SerializeTool::Byte2Long(buf, &p, &value) != 8) {
        return -1;
    }
    id = value;
    status[0] = (uint8_t)buf[p++];
    status[1] = (uint8_t)buf[p++];
    short stamp = 0;
    if (SerializeTool::Byte2Short(buf, &p, &stamp) != 2) {
        return -1;
    }
    timeStamp = stamp;
    timeConfidence = (uint8_t)buf[p++];
    int used = p - *pos;
    *pos = p;
    return used;
}
