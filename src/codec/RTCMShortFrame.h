#ifndef V2XSHM_CODEC_RTCMSHORTFRAME_H
#define V2XSHM_CODEC_RTCMSHORTFRAME_H

#include <cstdint>

// A block of differential-correction data as passed between processes: FA FB,
// the type's low byte, a big-endian signed 16-bit data length and the data,
// with no check byte. A short frame is dataLen + 5 bytes.
class RTCMShortFrame {
public:
    static constexpr int DATA_MAX = 2048;  // bytes of the data area
    static constexpr int HEAD_LEN = 5;

    RTCMShortFrame();

    // Writes the frame at buf[*offset] and returns its length (dataLen + 5),
    // leaving *offset where it was: the caller moves it on. -1 for a null
    // buffer or cursor, or a dataLen outside 0..2048 (nothing written). The
    // cursor's sign is not checked. -2 is kept for a failed number
    // conversion, which cannot happen.
    int serialize2ShortFrame(char* buf, int* offset) const;

    // Reads the frame at buf[*offset], trusting that all of it is there:
    // only for a frame known to be complete (see the form with len below for
    // received bytes). 1 with *offset moved past the frame (not the length);
    // -1 for a null buffer or cursor; -3, with nothing changed, when the
    // bytes there are not FA FB, the type byte is neither 1 nor 2, or the
    // received dataLen is negative or beyond the 2048-byte data area.
    int deserializeFromShortFrame(const char* buf, int* offset);

    // The same for received bytes, len of them available from *offset on;
    // nothing at or beyond buf[*offset + len] is read. 1 with *offset moved
    // past the frame; -1 for a null buffer or cursor, a negative cursor or a
    // negative len; -3 as above; -4 when fewer than the frame's bytes are
    // available (the header's 5, then dataLen + 5). Nothing changes on
    // failure.
    int deserializeFromShortFrame(const char* buf, int* offset, int len);

    int32_t frameType;  // 1 or 2 when read; only the low byte is written
    int16_t dataLen;
    char data[DATA_MAX];

private:
    // Reads the header at `at`; the length when it is acceptable, else -3.
    static int checkHeader(const char* at);
};

#endif
