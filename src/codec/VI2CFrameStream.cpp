#include "codec/VI2CFrameStream.h"

#include <cstdint>
#include <exception>

int VI2CFrameStream::feed(const char* bytes, int n)
{
    if (n < 0 || (bytes == nullptr && n > 0) || ended) {
        return -1;
    }
    try {
        // Drop what has been consumed before growing, so the buffer stays near
        // one frame's size however long the stream runs.
        if (head > 0 && head * 2 >= buf.size()) {
            buf.erase(buf.begin(), buf.begin() + (long)head);
            head = 0;
        }
        buf.insert(buf.end(), bytes, bytes + n);
    } catch (const std::exception&) {
        return -1;
    }
    return 1;
}

int VI2CFrameStream::nextFrame(VI2CFrame* frame)
{
    if (frame == nullptr) {
        return -1;
    }
    while (head < buf.size()) {
        int avail = (int)(buf.size() - head);
        // A byte that cannot open a frame goes at once, so that stray bytes
        // are not held while waiting for a header.
        bool noStart = (uint8_t)buf[head] != VI2CFrame::START1 ||
                       (avail > 1 && (uint8_t)buf[head + 1] != VI2CFrame::START2);
        if (noStart) {
            ++head;
            ++skipped;
            continue;
        }
        int pos = (int)head;
        int rc = frame->resolveFrame(buf.data(), &pos, avail);
        if (rc > 0) {
            head = (size_t)pos;
            return 1;
        }
        // Short of a header, or a frame whose announced length has not all
        // arrived: wait for more, unless nothing more will come.
        bool waiting = rc == -1 || (rc == -3 && frame->dataLen >= 0 && frame->dataLen <= VI2CFrame::DATA_MAX &&
                                    avail < frame->dataLen + VI2CFrame::MIN_LEN);
        if (waiting && !ended) {
            return 0;
        }
        ++head;
        ++skipped;
    }
    buf.clear();
    head = 0;
    return 0;
}

void VI2CFrameStream::endOfInput()
{
    ended = true;
}

void VI2CFrameStream::reset()
{
    buf.clear();
    head = 0;
    ended = false;
}
