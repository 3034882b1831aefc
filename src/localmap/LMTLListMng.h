#ifndef V2XSHM_LOCALMAP_LMTLLISTMNG_H
#define V2XSHM_LOCALMAP_LMTLLISTMNG_H

#include <cstdint>
#include <map>
#include <vector>

#include "localmap/LMTrafficLightExtend.h"
#include "shm/IFSHM.h"

// Keeps the received traffic lights (one signal controller per intersection,
// with its phases) in their shared segment (key 77402, 1 MiB). Segment
// image: a native signed 32-bit light count, then each light's flattened
// image (LMTrafficLightExtend::Obj2Buff), then zeros. Readers stop after
// count lights or at the end of the segment, and fail rather than read a
// light past it. A light received again replaces the stored one whole.
// One object per thread: the local map is not locked.
class LMTLListMng : public IF_SHM {
public:
    static constexpr int SHM_KEY = 77402;
    static constexpr int SHM_SIZE = 1048576;
    static constexpr double LIGHT_MAX_AGE = 10.0;  // seconds without refresh before a light goes

    explicit LMTLListMng(bool isOwner);

    // Writes the local map, in key order, over the whole segment. The base's
    // result (1), or -1 with nothing written when the flattened lights
    // exceed the segment or memory runs out.
    int commit();
    // Replaces the local map from the segment (a later duplicate key wins).
    // 1; -1 when a light does not decode within the segment or memory runs
    // out: the map then holds the lights decoded so far. A segment that
    // cannot be read yields an empty map.
    int update() override;

    // Callback for operateSHMNotSafe. `incoming` is a std::map<int64_t,
    // LMTrafficLightExtend> of newly received lights, each stamped now (in
    // incoming). Stored lights with a key in incoming are dropped; the image
    // is rewritten with the other stored lights in key order, then the
    // incoming ones in key order. Every light that stays is written as
    // Obj2Buff writes it decoded (phases and states in ascending key, each
    // key once, the later of a duplicate): its stored bytes are moved when
    // they already are that, else it is decoded and written again. 1; -1
    // with the image unchanged when a stored light runs past the segment,
    // the result exceeds the segment, memory runs out, or an argument is
    // null.
    static int insertUpdateList(void* image, void* incoming);
    // Callback for operateSHMNotSafe (arg unused): drops the lights not
    // refreshed for more than LIGHT_MAX_AGE and rewrites the others in key
    // order, in the form insertUpdateList gives them. 1; -1 with the image
    // unchanged when a light runs past the segment or on a null image.
    static int refreshList(void* image, void* arg);

    // Decodes a received light list at *pos (2 bytes not read, a big-endian
    // 32-bit count, the light records) into the local map, cleared first; a
    // later light with a key already decoded replaces it. Bytes consumed
    // with *pos advanced; -1 for a null buffer or cursor, a negative cursor
    // or len (map untouched) or when memory runs out; -2 for a broken count
    // or light record (lights decoded before it stay, *pos unchanged). The
    // message must be complete: check untrusted input first (LMSignalCheck).
    int DeSerialize(const char* buf, int* pos, int len);

    std::map<int64_t, LMTrafficLightExtend> lights;  // the local copy, by id

private:
    using LightMap = std::map<int64_t, LMTrafficLightExtend>;

    // Replaces *out by the lights of a segment image, reusing the allocations
    // of the lights it held; *end (when not null) receives where the last
    // light ends. 1, or -1 at the first light that does not decode within
    // the segment (*out then holds the lights before it).
    static int decodeImage(const char* image, LightMap* out, int* end);
    // Writes `first` then `second` (each in key order) with their total count
    // and zeroes what an earlier list left up to dirtyEnd; the bytes beyond
    // are zero already. 1, or -1 with the image untouched when they do not fit.
    static int encodeImage(char* image, const LightMap& first, const LightMap& second, int dirtyEnd);
    // The 1 MiB image buffer, allocated at the first use (may throw).
    char* imageBuffer();

    std::vector<char> segmentImage;  // kept between calls; too large for the stack
};

#endif
