#include "localmap/LMNodeBase.h"

#include <cstring>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"

LMNodeBase::LMNodeBase() : nodeId(0)
{
    memset(name, 0, sizeof name);
}

int LMNodeBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    if (!LMRecordTool::readPosition(buf, &p, this)) {
        return -1;
    }
    if (!LMRecordTool::readName(buf, &p, name, NAME_LEN)) {
        return -1;
    }
    long long id = 0;
    if (SerializeTool::Byte2Long(buf, &p, &id) != 8) {
        return -1;
    }
    nodeId = id;
    int used = p - *pos;
    *pos = p;
    return used;
}

LMLinkBase::LMLinkBase() : upstreamNodeId(0), attrFloat1(0.0f), laneNum(0), attrFloat2(0.0f)
{
    memset(name, 0, sizeof name);
}

int LMLinkBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    long long id = 0;
    if (SerializeTool::Byte2Long(buf, &p, &id) != 8) {
        return -1;
    }
    upstreamNodeId = id;
    if (!LMRecordTool::readName(buf, &p, name, NAME_LEN)) {
        return -1;
    }
    float f1 = 0.0f;
    float f2 = 0.0f;
    if (SerializeTool::Byte2Float(buf, &p, &f1) != 4) {
        return -1;
    }
    attrFloat1 = f1;
    laneNum = (uint8_t)buf[p++];
    if (SerializeTool::Byte2Float(buf, &p, &f2) != 4) {
        return -1;
    }
    attrFloat2 = f2;
    int used = p - *pos;
    *pos = p;
    return used;
}

LMLaneBase::LMLaneBase() : laneID(0), laneTypeCode(0)
{
    memset(laneBitsA, 0, sizeof laneBitsA);
    memset(laneBitsB, 0, sizeof laneBitsB);
    memset(laneBitsC, 0, sizeof laneBitsC);
}

int LMLaneBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    // The bit strings keep the order in which they arrive.
    int p = *pos + 2;
    laneID = (uint8_t)buf[p++];
    memcpy(laneBitsA, buf + p, 2);
    p += 2;
    memcpy(laneBitsB, buf + p, 2);
    p += 2;
    laneTypeCode = (uint8_t)buf[p++];
    memcpy(laneBitsC, buf + p, 2);
    p += 2;
    int used = p - *pos;
    *pos = p;
    return used;
}

LMMovementBase::LMMovementBase() : remoteNodeId(0), phaseId(0) {}

int LMMovementBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    long long id = 0;
    if (SerializeTool::Byte2Long(buf, &p, &id) != 8) {
        return -1;
    }
    remoteNodeId = id;
    phaseId = (uint8_t)buf[p++];
    int used = p - *pos;
    *pos = p;
    return used;
}
