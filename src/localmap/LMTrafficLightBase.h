#ifndef V2XSHM_LOCALMAP_LMTRAFFICLIGHTBASE_H
#define V2XSHM_LOCALMAP_LMTRAFFICLIGHTBASE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"

// The base records of an intersection's signal state as they arrive in a
// signal message: the traffic light (signal controller of one intersection),
// its phases, and each phase's light states with their count-down times.
// Their packed images are copied byte for byte into the flattened light list
// kept in shared memory, so field order and widths are a format between
// processes.
//
// DeSerialize, common to all of them: decodes one big-endian record whose
// first two bytes (its own length, read ahead by the enclosing decoder and
// passed as `len`) are skipped. Returns the bytes consumed, length field
// included, with *pos advanced by as much; -1 for a null buffer or cursor, a
// negative cursor or a negative len (nothing changed). Only len's sign is
// checked: the fields give the size, and the caller must pass a complete
// message. Codes and times are stored as received, never scaled.

#pragma pack(push, 1)

// One light state of a phase and when it starts and ends. The six times
// are count-down values in the sender's unit; -1.0 marks a time not given.
class LMPhaseStateBase {
public:
    static constexpr float NO_TIME = -1.0f;

    LMPhaseStateBase();

    // 28 bytes on the wire.
    int DeSerialize(const char* buf, int* pos, int len);

    uint8_t light;  // light state code; the state's key in its phase
    float startTime;
    float minEndTime;
    float maxEndTime;
    float likelyEndTime;
    uint8_t timeConfidence;
    float nextStartTime;
    float nextDuration;
};

// One signal phase: the movements of the map name it by phaseID.
class LMPhaseBase {
public:
    LMPhaseBase();

    // 4 bytes on the wire.
    int DeSerialize(const char* buf, int* pos, int len);

    uint8_t phaseID;    // the phase's key in its light
    uint8_t phaseAttr;  // carried unchanged
};

// The signal controller of one intersection. Its refresh time is kept by
// the light list, never by decoding.
class LMTrafficLightBase : public IF_Refreshable {
public:
    LMTrafficLightBase();

    // 15 bytes on the wire.
    int DeSerialize(const char* buf, int* pos, int len);

    int64_t id;         // the intersection's id; the light's key in the list
    uint8_t status[2];  // in the order received
    int16_t timeStamp;
    uint8_t timeConfidence;
};

#pragma pack(pop)

// Users of the library need not build with -Wno-invalid-offsetof.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(LMPhaseStateBase) == 26, "shared layout changed");
static_assert(offsetof(LMPhaseStateBase, light) == 0, "shared layout changed");
static_assert(offsetof(LMPhaseStateBase, startTime) == 1, "shared layout changed");
static_assert(offsetof(LMPhaseStateBase, likelyEndTime) == 13, "shared layout changed");
static_assert(offsetof(LMPhaseStateBase, timeConfidence) == 17, "shared layout changed");
static_assert(offsetof(LMPhaseStateBase, nextStartTime) == 18, "shared layout changed");
static_assert(offsetof(LMPhaseStateBase, nextDuration) == 22, "shared layout changed");
static_assert(std::is_trivially_copyable<LMPhaseStateBase>::value, "copied with memcpy");

static_assert(sizeof(LMPhaseBase) == 2, "shared layout changed");
static_assert(offsetof(LMPhaseBase, phaseAttr) == 1, "shared layout changed");
static_assert(std::is_trivially_copyable<LMPhaseBase>::value, "copied with memcpy");

static_assert(sizeof(LMTrafficLightBase) == 21, "shared layout changed");
static_assert(offsetof(LMTrafficLightBase, latestRefreshTime) == 0, "shared layout changed");
static_assert(offsetof(LMTrafficLightBase, id) == 8, "shared layout changed");
static_assert(offsetof(LMTrafficLightBase, status) == 16, "shared layout changed");
static_assert(offsetof(LMTrafficLightBase, timeStamp) == 18, "shared layout changed");
static_assert(offsetof(LMTrafficLightBase, timeConfidence) == 20, "shared layout changed");
static_assert(std::is_trivially_copyable<LMTrafficLightBase>::value, "copied with memcpy");
#pragma GCC diagnostic pop

#endif
