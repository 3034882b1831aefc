// Feeds arbitrary bytes to the correction-data short frame's reader for
// received bytes, at every offset of the input, which lies in a heap block of
// its exact size so that the address sanitizer reports any read outside it.
// Beyond the sanitizers, each run checks the reader's promises and aborts
// when one fails:
// - refused: the code says why (-3 a bad header, -4 too few bytes), and the
//   cursor and the frame are as they were;
// - accepted: the cursor moves by exactly the frame's length, within the
//   input; the trusting reader reads the same; and the frame written back
//   is the bytes it was read from.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "codec/RTCMShortFrame.h"

namespace {

void require(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "fuzz_rtcm: broken promise: %s\n", what);
        abort();
    }
}

bool sameFrame(const RTCMShortFrame& a, const RTCMShortFrame& b)
{
    return a.frameType == b.frameType && a.dataLen == b.dataLen && memcmp(a.data, b.data, sizeof a.data) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 1 << 16) {
        return 0;
    }
    int n = (int)size;
    std::unique_ptr<char[]> buf(new char[size ? size : 1]);
    if (size > 0) memcpy(buf.get(), data, size);
    static RTCMShortFrame untouched;
    untouched.frameType = 77;
    untouched.dataLen = 77;

    static RTCMShortFrame light;
    for (int at = 0; at < n; ++at) {
        if ((uint8_t)buf[at] != 0xFA) {
            // No frame can start here: a cheap check, without copying frames.
            int pos = at;
            light.frameType = 77;
            require(light.deserializeFromShortFrame(buf.get(), &pos, n - at) < 0 && pos == at &&
                        light.frameType == 77,
                    "no frame without its start byte");
            continue;
        }
        RTCMShortFrame frame = untouched;
        int pos = at;
        int rc = frame.deserializeFromShortFrame(buf.get(), &pos, n - at);
        if (rc != 1) {
            require(rc == -3 || rc == -4, "a refusal is -3 or -4");
            require(pos == at && sameFrame(frame, untouched), "a refusal changes nothing");
            require(rc == -3 || n - at < RTCMShortFrame::HEAD_LEN ||
                        n - at < RTCMShortFrame::HEAD_LEN + (((uint8_t)buf[at + 3] << 8) | (uint8_t)buf[at + 4]),
                    "-4 only when the frame's bytes are missing");
            continue;
        }
        int len = RTCMShortFrame::HEAD_LEN + frame.dataLen;
        require(frame.dataLen >= 0 && frame.dataLen <= RTCMShortFrame::DATA_MAX, "the length fits the data area");
        require(pos == at + len && pos <= n, "the cursor moves by the frame's length");
        RTCMShortFrame trusting = untouched;
        int trustPos = at;
        require(trusting.deserializeFromShortFrame(buf.get(), &trustPos) == 1 && trustPos == pos &&
                    sameFrame(trusting, frame),
                "the trusting reader reads the same complete frame");
        std::unique_ptr<char[]> out(new char[len]);
        int outPos = 0;
        require(frame.serialize2ShortFrame(out.get(), &outPos) == len && outPos == 0, "the frame writes back");
        require(memcmp(out.get(), buf.get() + at, (size_t)len) == 0, "the frame writes back to its bytes");
    }
    return 0;
}
