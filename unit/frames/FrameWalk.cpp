#include "v2xshm-unit/FrameWalk.h"

#include <exception>

namespace {

int walk(const char* bytes, int n, std::vector<FrameFinding>* found)
{
    int frames = 0;
    int pos = 0;
    while (pos < n) {
        FrameFinding f{FrameFinding::FRAME, pos, 0, VI2CFrame(), 0, 0};
        int rc = f.frame.resolveFrame(bytes, &pos, n - pos);
        if (rc > 0) {
            f.bytes = rc;
            found->push_back(f);
            ++frames;
            continue;
        }
        int dataLen = f.frame.dataLen;
        bool header = rc == -3 && dataLen >= 0 && dataLen <= VI2CFrame::DATA_MAX;
        if (header && n - pos < dataLen + VI2CFrame::MIN_LEN) {
            f.kind = FrameFinding::INCOMPLETE;
            f.bytes = n - pos;
            found->push_back(f);
        } else if (header) {
            f.kind = FrameFinding::BAD_CHECK;
            f.bytes = dataLen + VI2CFrame::MIN_LEN;
            VI2CFrame::calcCRC(bytes, pos + 2, dataLen + 4, &f.computed);
            f.carried = (uint8_t)bytes[pos + VI2CFrame::HEAD_LEN + dataLen];
            found->push_back(f);
        } else if (!found->empty() && found->back().kind == FrameFinding::SKIPPED &&
                   found->back().offset + found->back().bytes == pos) {
            ++found->back().bytes;
        } else {
            found->push_back(FrameFinding{FrameFinding::SKIPPED, pos, 1, VI2CFrame(), 0, 0});
        }
        ++pos;
    }
    return frames;
}

}  // namespace

int findFrames(const char* bytes, int n, std::vector<FrameFinding>* out)
{
    if (out == nullptr) {
        return -1;
    }
    out->clear();
    if (n < 0 || (bytes == nullptr && n > 0)) {
        return -1;
    }
    try {
        return walk(bytes, n, out);
    } catch (const std::exception&) {
        out->clear();
        return -1;
    }
}
