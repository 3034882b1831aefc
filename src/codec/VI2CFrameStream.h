#ifndef V2XSHM_CODEC_VI2CFRAMESTREAM_H
#define V2XSHM_CODEC_VI2CFRAMESTREAM_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/VI2CFrame.h"

// Cuts a byte stream from a serial line or a socket into frames. Bytes are
// fed in pieces of any size; nextFrame hands out each whole frame in stream
// order. Where no valid frame starts (stray bytes, no FA FB, a wrong check
// byte, a length beyond the data area) the reader drops one byte and looks
// again, so a frame right after garbage or inside a corrupt frame is still
// found. An incomplete frame is kept until its last byte arrives. The frames
// handed out are exactly those that resolveFrame finds walking the whole
// stream at once, moving one byte on after each failure, once endOfInput
// has been called. At most one frame's worth of bytes is kept between calls
// of nextFrame that return 0. One object per thread.
class VI2CFrameStream {
public:
    VI2CFrameStream() = default;

    // Appends n bytes. 1; -1 for a null buffer with n > 0, a negative n,
    // bytes after endOfInput, or no memory (nothing taken in either case).
    int feed(const char* bytes, int n);

    // Hands out the next whole frame into *frame. 1 with a frame; 0 when
    // the bytes held cannot complete one yet (or, after endOfInput, are
    // used up); -1 for a null frame. `frame` may hold a partial header
    // after 0 or -1, as resolveFrame leaves it.
    int nextFrame(VI2CFrame* frame);

    // No more bytes will come: a frame still incomplete is given up on and
    // the bytes after its first one are searched as well.
    void endOfInput();

    // Forgets every byte held and the end of input, keeping the counters.
    void reset();

    // Bytes held that belong to no frame handed out yet.
    int pendingBytes() const { return (int)(buf.size() - head); }
    // Bytes dropped while resynchronising, since construction.
    uint64_t skippedBytes() const { return skipped; }

private:
    std::vector<char> buf;  // bytes from `head` on are pending
    size_t head = 0;
    bool ended = false;
    uint64_t skipped = 0;
};

#endif
