#include "localmap/LMRSIBase.h"

#include <cstring>

#include "codec/SerializeTool.h"
#include "localmap/LMRecordTool.h"

LMRSIBase::LMRSIBase() : infoID(0), attrInt(0), attrShort(0), attrByte(0), attrFloat(0.0f)
{
    memset(sourceID, 0, sizeof sourceID);
    memset(text, 0, sizeof text);
}

int LMRSIBase::DeSerialize(const char* buf, int* pos, int len)
{
    if (LMRecordTool::badArgs(buf, pos, len)) {
        return -1;
    }
    int p = *pos + 2;
    if (!LMRecordTool::readPosition(buf, &p, &position)) {
        return -1;
    }
    short id = 0;
    int attr = 0;
    short shortAttr = 0;
    if (SerializeTool::Byte2Short(buf, &p, &id) != 2 || SerializeTool::Byte2Int(buf, &p, &attr) != 4
        || SerializeTool::Byte2Short(buf, &p, &shortAttr) != 2) {
        return -1;
    }
    infoID = id;
    attrInt = attr;
    attrShort = shortAttr;
    // One length byte: at most 255 bytes, so a fresh record stays terminated.
    if (!LMRecordTool::readName(buf, &p, text, TEXT_LEN)) {
        return -1;
    }
    attrByte = (uint8_t)buf[p++];
    float value = 0.0f;
    if (SerializeTool::Byte2Float(buf, &p, &value) != 4) {
        return -1;
    }
    attrFloat = value;
    int used = p - *pos;
    *pos = p;
    return used;
}
