#ifndef V2XSHM_SHM_CONFIGINFO_H
#define V2XSHM_SHM_CONFIGINFO_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#pragma pack(push, 1)
// One typed setting of the device: a key of up to 16 characters and a value
// of 1, 4 or 8 bytes or a text of up to 31 characters. Copied byte for byte
// into the configuration list's segment.
class ConfigInfo {
public:
    // The value's width; 0 (a default entry) is accepted by no setter.
    enum DataType {
        ONE_BYTE = 1,
        FOUR_BYTES = 2,
        EIGHT_BYTES = 3,
        TEXT = 4,
    };

    static constexpr int KEY_LEN = 16;    // a 16-character key has no terminator
    static constexpr int VALUE_LEN = 32;  // texts: at most 31 characters

    ConfigInfo();

    // Stores key, type and value. 1; -1 for a null, empty or over-long key
    // (entry unchanged); -2 for a type outside 1..4 (key and type stored,
    // value zero). A text value is copied with its terminator; one longer
    // than 31 characters is cut to 31.
    int setValue(const char* key, ConfigInfo::DataType type, const void* value);
    // Copies the value (1, 4 or 8 bytes, or the text with its terminator) to
    // out, which the caller sizes. 1, or -2 for an invalid stored type.
    int getValue(void* out) const;

    char key[KEY_LEN];
    int32_t dataType;
    char value[VALUE_LEN];
};
#pragma pack(pop)
static_assert(sizeof(ConfigInfo) == 52, "shared layout changed");
static_assert(offsetof(ConfigInfo, key) == 0, "shared layout changed");
static_assert(offsetof(ConfigInfo, dataType) == 16, "shared layout changed");
static_assert(offsetof(ConfigInfo, value) == 20, "shared layout changed");
static_assert(std::is_trivially_copyable<ConfigInfo>::value, "copied with memcpy");

#endif
