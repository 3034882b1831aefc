#ifndef V2XSHM_CODEC_VI2CFRAME_H
#define V2XSHM_CODEC_VI2CFRAME_H

#include <cstdint>

// One framed message of a byte stream: FA FB, type, sub-type, a big-endian
// signed 16-bit data length, the data and a check byte, the XOR of every byte
// between the start bytes and the check byte. A frame is dataLen + 7 bytes.
class VI2CFrame {
public:
    static constexpr uint8_t START1 = 0xFA;
    static constexpr uint8_t START2 = 0xFB;
    static constexpr int DATA_MAX = 2048;   // bytes of the data area
    static constexpr int HEAD_LEN = 6;      // start bytes, type, sub-type, length
    static constexpr int MIN_LEN = 7;       // a frame without data
    static constexpr int MAX_LEN = DATA_MAX + MIN_LEN;

    VI2CFrame();

    // Writes this frame at buf[*offset] and advances *offset past it. Returns
    // the frame's length (dataLen + 7); -1 for a null buffer or cursor, a
    // negative cursor, or a dataLen outside 0..2048 (nothing written: the
    // data area holds no more). The caller provides dataLen + 7 bytes.
    int buildFrame(char* buf, int* offset) const;

    // Reads the frame that starts exactly at buf[*offset], len bytes being
    // available from there on. Returns its length with *offset advanced past
    // it and the data copied; otherwise *offset is left alone and:
    //  -1 null buffer or cursor, negative cursor, or len below 7 (nothing
    //     changed);
    //  -2 no FA FB at the cursor (nothing changed; there is no search: a
    //     caller resynchronises by moving its cursor one byte on);
    //  -3 frameType, frameSubType and dataLen now hold the header read, and
    //     the frame is incomplete (len < dataLen + 7) or corrupt: a wrong
    //     check byte, or a dataLen that is negative or beyond the 2048-byte
    //     data area. `data` is unchanged.
    // Bytes at or beyond buf[*offset + len] are never read.
    int resolveFrame(const char* buf, int* offset, int len);

    // XOR of buf[start .. start + count - 1] into *out (0 for none). 1; -1 for
    // a null buffer or out, or a negative start or count.
    static int calcCRC(const char* buf, int start, int count, uint8_t* out);

    uint8_t frameType;
    uint8_t frameSubType;
    int16_t dataLen;      // bytes of data in use, 0..2048 in a valid frame
    char data[DATA_MAX];
};

#endif
