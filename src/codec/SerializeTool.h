#ifndef V2XSHM_CODEC_SERIALIZETOOL_H
#define V2XSHM_CODEC_SERIALIZETOOL_H

// Numbers to and from big-endian (network order) bytes, whatever the host.
// The stream is a caller-owned buffer with an int cursor passed by pointer:
// every call works at the cursor, advances it by the bytes handled and
// returns that count. Nothing is checked: the caller guarantees room and,
// when reading received data, that the bytes are there.
class SerializeTool {
public:
    static int Short2Byte(char* buf, int* offset, short value);
    static int Int2Byte(char* buf, int* offset, int value);
    static int Long2Byte(char* buf, int* offset, long long value);
    static int Float2Byte(char* buf, int* offset, float value);
    static int Double2Byte(char* buf, int* offset, double value);
    // Copies len raw bytes from src; no terminator, no length prefix.
    static int String2Byte(char* buf, int* offset, int len, const char* src);

    static int Byte2Short(const char* buf, int* offset, short* out);
    static int Byte2Int(const char* buf, int* offset, int* out);
    static int Byte2Long(const char* buf, int* offset, long long* out);
    static int Byte2Float(const char* buf, int* offset, float* out);
    static int Byte2Double(const char* buf, int* offset, double* out);
    // Copies len raw bytes to dst.
    static int Byte2String(const char* buf, int* offset, char* dst, int len);
};

#endif
