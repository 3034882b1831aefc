#ifndef V2XSHM_UNIT_FRAMEWALK_H
#define V2XSHM_UNIT_FRAMEWALK_H

#include <cstdint>
#include <vector>

#include "codec/VI2CFrame.h"

// What a serial line or a socket carried, accounted for byte by byte: the
// frames a stream reader takes from it and, where it finds none, why. A
// process that logs the health of its link, or a person looking at captured
// bytes, needs the second part, which VI2CFrameStream (the reader itself)
// does not keep: it only hands out the frames.

// One thing found walking a byte stream for frames.
struct FrameFinding {
    enum Kind { FRAME, BAD_CHECK, INCOMPLETE, SKIPPED } kind;
    int offset;        // where it starts in the stream
    int bytes;         // bytes it spans (SKIPPED: the run's length)
    VI2CFrame frame;   // header (and data for FRAME)
    uint8_t computed;  // BAD_CHECK: the check byte the frame should carry
    uint8_t carried;   // BAD_CHECK: the check byte it carries
};

// Walks bytes[0 .. n-1] as a stream reader does after the end of input: a
// valid frame is taken whole (FRAME); anywhere else the walk moves one byte
// on, noting there a frame whose header is sound but whose check byte is
// wrong (BAD_CHECK, spanning the whole frame as announced) or that the input
// cuts short (INCOMPLETE, spanning the rest), and otherwise counting the byte
// into a run of SKIPPED ones. The bytes inside a BAD_CHECK or INCOMPLETE
// frame are walked as well, so the FRAME findings are exactly the frames
// VI2CFrameStream hands out for the same input. Findings are in stream
// order, replacing *out.
// Returns the number of FRAME findings, or -1 for a null `out`, a null
// `bytes` with n > 0, a negative n, or no memory (out cleared).
int findFrames(const char* bytes, int n, std::vector<FrameFinding>* out);

#endif
