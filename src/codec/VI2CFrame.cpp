#include "codec/VI2CFrame.h"

#include <cstring>

#include "codec/SerializeTool.h"

VI2CFrame::VI2CFrame() : frameType(0), frameSubType(0), dataLen(0)
{
    memset(data, 0, sizeof data);
}

int VI2CFrame::buildFrame(char* buf, int* offset) const
{
    if (buf == nullptr || offset == nullptr || *offset < 0 || dataLen < 0 || dataLen > DATA_MAX) {
        return -1;
    }
    int start = *offset;
    int pos = start;
    buf[pos++] = (char)START1;
    buf[pos++] = (char)START2;
    buf[pos++] = (char)frameType;
    buf[pos++] = (char)frameSubType;
    SerializeTool::Short2Byte(buf, &pos, dataLen);
    SerializeTool::String2Byte(buf, &pos, dataLen, data);
    uint8_t check = 0;
    calcCRC(buf, start + 2, dataLen + 4, &check);
    buf[pos++] = (char)check;
    *offset = pos;
    return pos - start;
}

int VI2CFrame::resolveFrame(const char* buf, int* offset, int len)
{
    if (buf == nullptr || offset == nullptr || *offset < 0 || len < MIN_LEN) {
        return -1;
    }
    const char* at = buf + *offset;
    if ((uint8_t)at[0] != START1 || (uint8_t)at[1] != START2) {
        return -2;
    }
    // The header is kept even when the frame turns out incomplete or corrupt:
    // a stream reader looks at dataLen to know how much more to wait for.
    frameType = (uint8_t)at[2];
    frameSubType = (uint8_t)at[3];
    int pos = 4;
    short received = 0;
    SerializeTool::Byte2Short(at, &pos, &received);
    dataLen = received;
    if (received < 0 || received > DATA_MAX || len < received + MIN_LEN) {
        return -3;
    }
    uint8_t check = 0;
    calcCRC(at, 2, received + 4, &check);
    if (check != (uint8_t)at[HEAD_LEN + received]) {
        return -3;
    }
    memcpy(data, at + HEAD_LEN, (size_t)received);
    *offset += received + MIN_LEN;
    return received + MIN_LEN;
}

int VI2CFrame::calcCRC(const char* buf, int start, int count, uint8_t* out)
{
    if (buf == nullptr || out == nullptr || start < 0 || count < 0) {
        return -1;
    }
    uint8_t x = 0;
    for (int i = 0; i < count; ++i) {
        x ^= (uint8_t)buf[start + i];
    }
    *out = x;
    return 1;
}
