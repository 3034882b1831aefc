#ifndef V2XSHM_LOCALMAP_LMRSIBASE_H
#define V2XSHM_LOCALMAP_LMRSIBASE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"
#include "space/IFPosition.h"

#pragma pack(push, 1)
// One piece of road-side information as received: a place, a few codes and
// a text that a road-side unit announces. The RSI list tells records apart by
// (sourceID, infoID); sourceID is not in the message: the process handing
// records to the list fills it. The packed image (319 bytes) is copied byte
// for byte into the list's flattened image in shared memory.
class LMRSIBase : public IF_Refreshable {
public:
    static constexpr int SOURCE_LEN = 16;
    static constexpr int TEXT_LEN = 256;

    LMRSIBase();

    // Decodes one big-endian record (42 + text length bytes) whose first two
    // bytes, its own length read ahead by the enclosing decoder and passed as
    // len, are skipped. The received text overwrites the start of `text`
    // only; the refresh time and sourceID are left alone. Bytes consumed with
    // *pos advanced; -1 for a null buffer or cursor, a negative cursor or a
    // negative len (nothing changed). The caller passes a complete message.
    int DeSerialize(const char* buf, int* pos, int len);

    IF_Position position;
    int16_t infoID;              // identifier within its source
    char sourceID[SOURCE_LEN];   // zero-terminated name of the source
    int32_t attrInt;             // code as received
    int16_t attrShort;           // code as received
    char text[TEXT_LEN];         // as received, not terminated by decoding
    uint8_t attrByte;            // code as received
    float attrFloat;             // value as received
};
#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMRSIBase) == 319, "shared layout changed");
static_assert(offsetof(LMRSIBase, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(LMRSIBase, position) == 8, "shared layout changed");
static_assert(offsetof(LMRSIBase, infoID) == 34, "shared layout changed");
static_assert(offsetof(LMRSIBase, sourceID) == 36, "shared layout changed");
static_assert(offsetof(LMRSIBase, attrInt) == 52, "shared layout changed");
static_assert(offsetof(LMRSIBase, attrShort) == 56, "shared layout changed");
static_assert(offsetof(LMRSIBase, text) == 58, "shared layout changed");
static_assert(offsetof(LMRSIBase, attrByte) == 314, "shared layout changed");
static_assert(offsetof(LMRSIBase, attrFloat) == 315, "shared layout changed");
static_assert(std::is_trivially_copyable<LMRSIBase>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
