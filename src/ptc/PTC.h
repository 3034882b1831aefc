#ifndef V2XSHM_PTC_PTC_H
#define V2XSHM_PTC_PTC_H

#include "ptc/IFPTCBase.h"

#pragma pack(push, 1)
// A participant reported by a sensor or a road-side message. It is told
// apart from others by the source's own identifier together with the kind
// and identifier of the reporting device; the other codes are carried as
// received.
class PTC : public IF_PTCBase {
public:
    static constexpr int TEXT_LEN = 16;

    PTC();  // everything zero beyond the base's defaults

    uint8_t ptcType;             // participant type code as received
    uint16_t ptcID;              // identifier given by the source (list key)
    uint8_t ptcAttr[2];          // carried as received
    char ptcText[TEXT_LEN];      // carried as received
    uint8_t source;              // kind of reporting source (list key)
    char sourceID[TEXT_LEN];     // reporting device, zero-terminated (list key)
    char ptcExtra[TEXT_LEN];     // carried as received
    VehClass vehClass;
};
#pragma pack(pop)

static_assert(sizeof(PTC) == 230, "shared layout changed");
static_assert(offsetof(PTC, ptcType) == 143, "shared layout changed");
static_assert(offsetof(PTC, ptcID) == 144, "shared layout changed");
static_assert(offsetof(PTC, ptcAttr) == 146, "shared layout changed");
static_assert(offsetof(PTC, ptcText) == 148, "shared layout changed");
static_assert(offsetof(PTC, source) == 164, "shared layout changed");
static_assert(offsetof(PTC, sourceID) == 165, "shared layout changed");
static_assert(offsetof(PTC, ptcExtra) == 181, "shared layout changed");
static_assert(offsetof(PTC, vehClass) == 197, "shared layout changed");
static_assert(std::is_trivially_copyable<PTC>::value, "copied with memcpy");

#endif
