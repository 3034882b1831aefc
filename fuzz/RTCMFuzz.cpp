// Feeds arbitrary bytes to the correction-data short frame's reader for
// received bytes, at every offset of the input, which lies in a heap block of
// its exact size so that the address sanitizer reports any read outside it.
// Beyond the sanitizers, each run checks the reader's promises and aborts
// when one fails:
// - refused: -3 or -4, and the cursor, type and length are as they were;
// - accepted: the cursor moves by exactly the frame's length, within the
//   input, and the frame written back is the bytes it was read from.

#include <cstdint>
#include <cstring>
#include <vector>

#include "FuzzPromises.h"
#include "codec/RTCMShortFrame.h"

const char* const FUZZ_TARGET = "fuzz_rtcm";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > 1 << 16) {
        return 0;
    }
    std::vector<char> buf(data, data + size);  // exactly size bytes on the heap
    int n = (int)size;
    static RTCMShortFrame frame;
    static char out[RTCMShortFrame::HEAD_LEN + RTCMShortFrame::DATA_MAX];
    for (int at = 0; at < n; ++at) {
        frame.frameType = 77;
        frame.dataLen = 77;
        int pos = at;
        int rc = frame.deserializeFromShortFrame(buf.data(), &pos, n - at);
        if (rc != 1) {
            require((rc == -3 || rc == -4) && pos == at && frame.frameType == 77 && frame.dataLen == 77,
                    "a refusal is -3 or -4 and changes nothing");
            continue;
        }
        int len = RTCMShortFrame::HEAD_LEN + frame.dataLen;
        require(frame.dataLen >= 0 && frame.dataLen <= RTCMShortFrame::DATA_MAX && pos == at + len && pos <= n,
                "the cursor moves by the frame's length, within the input");
        int outPos = 0;
        require(frame.serialize2ShortFrame(out, &outPos) == len && memcmp(out, buf.data() + at, (size_t)len) == 0,
                "the frame writes back to its bytes");
    }
    return 0;
}
