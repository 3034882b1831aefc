// What every fuzz target checks beyond the sanitizers: a broken promise
// aborts the run with its text, so that libFuzzer keeps the input. The list
// decoders share their promises, checked here once.
#ifndef V2XSHM_FUZZ_PROMISES_H
#define V2XSHM_FUZZ_PROMISES_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "localmap/LMMessageCheck.h"

extern const char* const FUZZ_TARGET;  // each target names itself

inline void require(bool holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "%s: broken promise: %s\n", FUZZ_TARGET, what);
        abort();
    }
}

template <typename Record>
std::vector<char> flatOf(const Record& record)
{
    std::vector<char> bytes(record.flatSize());
    int pos = 0;
    require(record.Obj2Buff(bytes.data(), &pos) == (int)bytes.size(), "a record flattens to its size");
    return bytes;
}

// A record kept in a list survives its trip through the segment image.
template <typename Record>
void requireRoundTrip(const Record& record)
{
    std::vector<char> image = flatOf(record);
    Record back;
    int at = 0;
    require(back.buffer2Obj(image.data(), &at, (int)image.size()) == (int)image.size(), "a record reads back");
    require(flatOf(back) == image, "a record reads back unchanged");
}

// A checked list decoder on one input, which lies in a heap block of its
// exact size so that the address sanitizer reports any read outside it.
// Refused: the code agrees with the walk (`check`), the cursor and the list
// in use (`untouched`) are as they were. Accepted: the cursor moves by the
// walk's span, the list is whole at that length and one byte less is
// truncated.
template <typename Check, typename Decode, typename Untouched>
void requireDecoderPromises(const uint8_t* data, size_t size, Check check, Decode decode, Untouched untouched)
{
    const char* buf = reinterpret_cast<const char*>(data);
    int len = (int)size;
    int span = check(buf, 0, len);
    int pos = 0;
    int result = decode(buf, &pos, len);
    require(result == span, "the decoder returns what the walk found");
    if (result < 0) {
        require(pos == 0, "a refused message leaves the cursor");
        require(untouched(), "a refused message leaves the list in use");
        return;
    }
    require(pos == span && span <= len, "the cursor moves by the bytes consumed");
    require(check(buf, 0, span) == span, "the message is whole at its own length");
    require(check(buf, 0, span - 1) == LMMessageCheck::TRUNCATED, "one byte less is truncated");
}

#endif
