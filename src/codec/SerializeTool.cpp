#include "codec/SerializeTool.h"

#include <cstdint>
#include <cstring>

namespace {

bool hostIsLittleEndian()
{
    uint16_t probe = 1;
    unsigned char first;
    memcpy(&first, &probe, 1);
    return first == 1;
}

// Writes the n bytes of value most significant first.
template <typename T>
int writeBigEndian(char* buf, int* offset, T value)
{
    constexpr int n = sizeof(T);
    unsigned char bytes[n];
    memcpy(bytes, &value, n);
    if (hostIsLittleEndian()) {
        for (int i = 0; i < n; ++i) {
            buf[*offset + i] = (char)bytes[n - 1 - i];
        }
    } else {
        memcpy(buf + *offset, bytes, n);
    }
    *offset += n;
    return n;
}

template <typename T>
int readBigEndian(const char* buf, int* offset, T* out)
{
    constexpr int n = sizeof(T);
    unsigned char scratch[n] = {};
    if (hostIsLittleEndian()) {
        for (int i = 0; i < n; ++i) {
            scratch[i] = (unsigned char)buf[*offset + n - 1 - i];
        }
    } else {
        memcpy(scratch, buf + *offset, n);
    }
    T value;
    memcpy(&value, scratch, n);
    *out = value;
    *offset += n;
    return n;
}

}  // namespace

static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(long long) == 8 &&
                  sizeof(float) == 4 && sizeof(double) == 8,
              "wire widths are fixed");

int SerializeTool::Short2Byte(char* buf, int* offset, short value) { return writeBigEndian(buf, offset, value); }
int SerializeTool::Int2Byte(char* buf, int* offset, int value) { return writeBigEndian(buf, offset, value); }
int SerializeTool::Long2Byte(char* buf, int* offset, long long value) { return writeBigEndian(buf, offset, value); }
int SerializeTool::Float2Byte(char* buf, int* offset, float value) { return writeBigEndian(buf, offset, value); }
int SerializeTool::Double2Byte(char* buf, int* offset, double value) { return writeBigEndian(buf, offset, value); }

int SerializeTool::String2Byte(char* buf, int* offset, int len, const char* src)
{
    if (len > 0) {
        memcpy(buf + *offset, src, len);
    }
    *offset += len;
    return len;
}

int SerializeTool::Byte2Short(const char* buf, int* offset, short* out) { return readBigEndian(buf, offset, out); }
int SerializeTool::Byte2Int(const char* buf, int* offset, int* out) { return readBigEndian(buf, offset, out); }
int SerializeTool::Byte2Long(const char* buf, int* offset, long long* out) { return readBigEndian(buf, offset, out); }
int SerializeTool::Byte2Float(const char* buf, int* offset, float* out) { return readBigEndian(buf, offset, out); }
int SerializeTool::Byte2Double(const char* buf, int* offset, double* out) { return readBigEndian(buf, offset, out); }

int SerializeTool::Byte2String(const char* buf, int* offset, char* dst, int len)
{
    if (len > 0) {
        memcpy(dst, buf + *offset, len);
    }
    *offset += len;
    return len;
}
