#include "ConfigEntry.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "ToolCommon.h"
#include "shm/DevConfigMng.h"

namespace {

const TypeName TYPE_NAMES[] = {
    {"u8", ConfigInfo::ONE_BYTE, false},     {"byte", ConfigInfo::ONE_BYTE, false},
    {"i32", ConfigInfo::FOUR_BYTES, false},  {"int", ConfigInfo::FOUR_BYTES, false},
    {"i64", ConfigInfo::EIGHT_BYTES, false}, {"int64", ConfigInfo::EIGHT_BYTES, false},
    {"f64", ConfigInfo::EIGHT_BYTES, true},  {"double", ConfigInfo::EIGHT_BYTES, true},
    {"text", ConfigInfo::TEXT, false},       {"string", ConfigInfo::TEXT, false},
};

// By the tool's number rule; the whole text must be the number.
bool parseInteger(const std::string& text, long long* out, bool* overflow)
{
    WholeNumber result = readWholeNumber(text, INT64_MIN, INT64_MAX, out);
    *overflow = result == WholeNumber::OUT_OF_RANGE;
    return result != WholeNumber::NOT_WHOLE;
}

}  // namespace

const TypeName* findType(const std::string& name)
{
    for (const TypeName& t : TYPE_NAMES) {
        if (name == t.name) {
            return &t;
        }
    }
    return nullptr;
}

std::string checkKey(const std::string& key)
{
    if (key.empty()) {
        return "key must not be empty";
    }
    if (key.size() > (size_t)ConfigInfo::KEY_LEN) {
        return "key '" + key + "' has " + std::to_string(key.size()) + " characters; at most " +
               std::to_string(ConfigInfo::KEY_LEN) + " fit";
    }
    return "";
}

std::string buildEntry(const std::string& key, const TypeName& type, const std::string& text, ConfigInfo* entry)
{
    int rc = 0;
    if (type.type == ConfigInfo::TEXT) {
        if (text.size() > (size_t)ConfigInfo::VALUE_LEN - 1) {
            return "text value has " + std::to_string(text.size()) + " characters; at most " +
                   std::to_string(ConfigInfo::VALUE_LEN - 1) + " fit";
        }
        rc = entry->setValue(key.c_str(), type.type, text.c_str());
    } else if (type.isDouble) {
        char* end = nullptr;
        double value = strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0' || isspace((unsigned char)text[0])) {
            return "value '" + text + "' is not a number";
        }
        if (!std::isfinite(value)) {
            return "value '" + text + "' is not a finite number";
        }
        rc = entry->setValue(key.c_str(), type.type, &value);
    } else {
        long long value = 0;
        bool overflow = false;
        if (!parseInteger(text, &value, &overflow)) {
            return "value '" + text + "' is not a whole number";
        }
        long long lo = type.type == ConfigInfo::ONE_BYTE ? 0 : (type.type == ConfigInfo::FOUR_BYTES ? INT32_MIN : INT64_MIN);
        long long hi = type.type == ConfigInfo::ONE_BYTE ? 255 : (type.type == ConfigInfo::FOUR_BYTES ? INT32_MAX : INT64_MAX);
        if (overflow || value < lo || value > hi) {
            return "value " + text + " does not fit " + type.name + " (" + std::to_string(lo) + ".." +
                   std::to_string(hi) + ")";
        }
        uint8_t u8 = (uint8_t)value;
        int32_t i32 = (int32_t)value;
        int64_t i64 = (int64_t)value;
        const void* bytes = type.type == ConfigInfo::ONE_BYTE ? (const void*)&u8
                          : type.type == ConfigInfo::FOUR_BYTES ? (const void*)&i32 : (const void*)&i64;
        rc = entry->setValue(key.c_str(), type.type, bytes);
    }
    return rc == 1 ? "" : "the entry could not be built";
}

std::string storeEntry(ConfigInfo* entry)
{
    DevConfigMng mng(false);
    guardLockWait("config");
    int rc = mng.operateSHMNotSafe(DevConfigMng::insertConfig2SHM, entry);
    releaseLockGuard();
    if (rc != 1) {
        return "config list is full (" + std::to_string(DevConfigListInShm::capacity) + " entries); " +
               fieldText(entry->key, ConfigInfo::KEY_LEN) + " not added";
    }
    return "";
}
