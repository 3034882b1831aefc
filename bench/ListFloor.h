#ifndef V2XSHM_BENCH_LISTFLOOR_H
#define V2XSHM_BENCH_LISTFLOOR_H

// The floor of a list's update(): copying the image's bytes out of the
// segment and decoding its records into the local container, reusing what
// it held, with nothing else (no lock, no bound on the count, no copy of the
// unused rest of the segment).
#include <cstdint>
#include <cstring>
#include <map>
#include <sys/shm.h>
#include <vector>

#include "localmap/LMRecordTool.h"

namespace benchfloor {

template <typename K, typename V>
void decodeInto(const char* image, int size, std::map<K, V>* out)
{
    int32_t count = 0;
    memcpy(&count, image, sizeof count);
    int pos = 4;
    LMRecordTool::MapRefill<K, V> refill(out);
    for (int32_t i = 0; i < count; ++i) {
        refill.next()->buffer2Obj(image, &pos, size);
        refill.store();
    }
}

template <typename V>
void decodeInto(const char* image, int size, std::vector<V>* out)
{
    int32_t count = 0;
    memcpy(&count, image, sizeof count);
    out->resize((size_t)count);
    int pos = 4;
    for (V& rec : *out) {
        rec.buffer2Obj(image, &pos, size);
    }
}

// The list's segment, attached read-only (it must exist), for the floor to
// copy from the same memory the list reads; null when it cannot be attached.
inline const char* attachSegment(int key)
{
    int id = shmget(key, 0, 0);
    void* addr = id == -1 ? (void*)-1 : shmat(id, nullptr, SHM_RDONLY);
    return addr == (void*)-1 ? nullptr : static_cast<const char*>(addr);
}

// memcpy of `bytes` image bytes from `segment` into `copy`, then the decode.
template <typename Container>
void copyAndDecode(const char* segment, int bytes, std::vector<char>* copy, Container* out)
{
    memcpy(copy->data(), segment, (size_t)bytes);
    decodeInto(copy->data(), bytes, out);
}

}  // namespace benchfloor

#endif
