#include "shm/ConfigInfo.h"

#include <cstring>

namespace {

int valueWidth(int32_t type)
{
    switch (type) {
    case ConfigInfo::ONE_BYTE: return 1;
    case ConfigInfo::FOUR_BYTES: return 4;
    case ConfigInfo::EIGHT_BYTES: return 8;
    default: return 0;
    }
}

}  // namespace

ConfigInfo::ConfigInfo()
{
    memset(this, 0, sizeof(ConfigInfo));
}

int ConfigInfo::setValue(const char* newKey, ConfigInfo::DataType type, const void* newValue)
{
    if (newKey == nullptr) {
        return -1;
    }
    size_t keyLen = strnlen(newKey, KEY_LEN + 1);
    if (keyLen == 0 || keyLen > (size_t)KEY_LEN) {
        return -1;
    }
    memset(key, 0, KEY_LEN);
    memcpy(key, newKey, keyLen);
    dataType = type;
    memset(value, 0, VALUE_LEN);
    if (type < ONE_BYTE || type > TEXT) {
        return -2;
    }
    if (type == TEXT) {
        // Callers keep texts within 31 characters; a longer one is cut there
        // rather than written past the field.
        size_t n = strnlen((const char*)newValue, VALUE_LEN - 1);
        memcpy(value, newValue, n);
    } else {
        memcpy(value, newValue, valueWidth(type));
    }
    return 1;
}

int ConfigInfo::getValue(void* out) const
{
    int32_t type = dataType;
    if (type < ONE_BYTE || type > TEXT) {
        return -2;
    }
    if (type == TEXT) {
        // A stored text always ends within the field; the bound keeps a
        // corrupted entry from running past it.
        size_t n = strnlen(value, VALUE_LEN - 1);
        memcpy(out, value, n);
        ((char*)out)[n] = '\0';
    } else {
        memcpy(out, value, valueWidth(type));
    }
    return 1;
}
