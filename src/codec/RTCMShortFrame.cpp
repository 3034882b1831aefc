#include "codec/RTCMShortFrame.h"

#include <cstring>

#include "codec/SerializeTool.h"

namespace {
constexpr uint8_t START1 = 0xFA;
constexpr uint8_t START2 = 0xFB;
}  // namespace

RTCMShortFrame::RTCMShortFrame() : frameType(1), dataLen(0)
{
    memset(data, 0, sizeof data);
}

int RTCMShortFrame::serialize2ShortFrame(char* buf, int* offset) const
{
    if (buf == nullptr || offset == nullptr || dataLen < 0 || dataLen > DATA_MAX) {
        return -1;
    }
    int pos = *offset;
    buf[pos++] = (char)START1;
    buf[pos++] = (char)START2;
    buf[pos++] = (char)(frameType & 0xFF);
    SerializeTool::Short2Byte(buf, &pos, dataLen);
    SerializeTool::String2Byte(buf, &pos, dataLen, data);
    return pos - *offset;
}

int RTCMShortFrame::checkHeader(const char* at)
{
    if ((uint8_t)at[0] != START1 || (uint8_t)at[1] != START2 || (at[2] != 1 && at[2] != 2)) {
        return -3;
    }
    int pos = 3;
    short len = 0;
    SerializeTool::Byte2Short(at, &pos, &len);
    return (len < 0 || len > DATA_MAX) ? -3 : len;
}

int RTCMShortFrame::deserializeFromShortFrame(const char* buf, int* offset)
{
    if (buf == nullptr || offset == nullptr) {
        return -1;
    }
    const char* at = buf + *offset;
    int len = checkHeader(at);
    if (len < 0) {
        return len;
    }
    frameType = at[2];
    dataLen = (int16_t)len;
    memcpy(data, at + HEAD_LEN, (size_t)len);
    *offset += HEAD_LEN + len;
    return 1;
}

int RTCMShortFrame::deserializeFromShortFrame(const char* buf, int* offset, int len)
{
    if (buf == nullptr || offset == nullptr || *offset < 0 || len < 0) {
        return -1;
    }
    if (len < HEAD_LEN) {
        return -4;
    }
    int dataBytes = checkHeader(buf + *offset);
    if (dataBytes < 0) {
        return dataBytes;
    }
    if (len < HEAD_LEN + dataBytes) {
        return -4;
    }
    return deserializeFromShortFrame(buf, offset);
}
