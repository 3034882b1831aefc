// v2xshm config list | get KEY [TYPE] | set KEY TYPE VALUE
//
// Values are typed by width only: u8 (one byte, 0..255), i32 (four bytes),
// i64 (eight bytes) and text (at most 31 characters). f64 stores a double's
// bits in the eight-byte kind; since the list cannot tell an i64 from an f64,
// eight-byte values are shown as i64, with the f64 reading beside it when the
// bits form a normal double (no whole number below 2^52 does). `get KEY`
// reads such bits as the double they most likely are; `get KEY i64` and
// `get KEY f64` read eight bytes as the type given.
#include "Commands.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "shm/DevConfigMng.h"

namespace {

struct TypeName {
    const char* name;
    ConfigInfo::DataType type;
    bool isDouble;  // eight bytes holding a double's bits
};

const TypeName TYPE_NAMES[] = {
    {"u8", ConfigInfo::ONE_BYTE, false},     {"byte", ConfigInfo::ONE_BYTE, false},
    {"i32", ConfigInfo::FOUR_BYTES, false},  {"int", ConfigInfo::FOUR_BYTES, false},
    {"i64", ConfigInfo::EIGHT_BYTES, false}, {"int64", ConfigInfo::EIGHT_BYTES, false},
    {"f64", ConfigInfo::EIGHT_BYTES, true},  {"double", ConfigInfo::EIGHT_BYTES, true},
    {"text", ConfigInfo::TEXT, false},       {"string", ConfigInfo::TEXT, false},
};

const TypeName* findType(const std::string& name)
{
    for (const TypeName& t : TYPE_NAMES) {
        if (name == t.name) {
            return &t;
        }
    }
    return nullptr;
}

const char* storedTypeName(int32_t type)
{
    switch (type) {
    case ConfigInfo::ONE_BYTE: return "u8";
    case ConfigInfo::FOUR_BYTES: return "i32";
    case ConfigInfo::EIGHT_BYTES: return "i64";
    case ConfigInfo::TEXT: return "text";
    default: return "invalid";
    }
}

// An empty string when key fits the 16-character field, else the complaint.
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

// By the tool's number rule; the whole text must be the number.
bool parseInteger(const std::string& text, long long* out, bool* overflow)
{
    WholeNumber result = readWholeNumber(text, INT64_MIN, INT64_MAX, out);
    *overflow = result == WholeNumber::OUT_OF_RANGE;
    return result != WholeNumber::NOT_WHOLE;
}

// Fills entry from the command line's TYPE and VALUE; an empty string on
// success, else the complaint.
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

// One entry's value, read as stored (or, for eight bytes, as a double).
struct ValueView {
    std::string typeName;
    std::string text;       // for plain output
    std::string json;       // a JSON value
    std::string asDouble;   // eight bytes forming a normal double, else empty
};

ValueView viewOf(const ConfigInfo& entry, bool readAsDouble)
{
    ValueView view;
    int32_t type = entry.dataType;
    view.typeName = storedTypeName(type);
    char out[ConfigInfo::VALUE_LEN] = {};
    if (entry.getValue(out) != 1) {
        view.text = "(type " + std::to_string(type) + ")";
        view.json = "null";
        return view;
    }
    if (type == ConfigInfo::ONE_BYTE) {
        view.text = std::to_string((unsigned)(uint8_t)out[0]);
    } else if (type == ConfigInfo::FOUR_BYTES) {
        int32_t v;
        memcpy(&v, out, sizeof v);
        view.text = std::to_string(v);
    } else if (type == ConfigInfo::EIGHT_BYTES) {
        int64_t v;
        double d;
        memcpy(&v, out, sizeof v);
        memcpy(&d, out, sizeof d);
        view.text = std::to_string((long long)v);
        if (std::isnormal(d)) {
            view.asDouble = formatDouble(d);
        }
        if (readAsDouble) {
            view.typeName = "f64";
            view.text = formatDouble(d);
            view.json = std::isfinite(d) ? view.text : "null";
            return view;
        }
    } else {
        view.text = out;
        view.json = jsonString(out);
        return view;
    }
    view.json = view.text;
    return view;
}

std::string keyText(const ConfigInfo& entry)
{
    return std::string(entry.key, strnlen(entry.key, ConfigInfo::KEY_LEN));
}

std::string entryJson(const ConfigInfo& entry, bool readAsDouble)
{
    ValueView view = viewOf(entry, readAsDouble);
    std::string out = "{\"key\":" + jsonString(keyText(entry)) + ",\"type\":" + jsonString(view.typeName) +
                      ",\"value\":" + view.json;
    if (!readAsDouble && !view.asDouble.empty()) {
        out += ",\"f64\":" + view.asDouble;
    }
    return out + "}";
}

std::string entryLine(const ConfigInfo& entry)
{
    ValueView view = viewOf(entry, false);
    char head[64];
    snprintf(head, sizeof head, "  %-5s ", view.typeName.c_str());
    std::string line = padRight(keyText(entry), 16) + head + view.text;
    if (!view.asDouble.empty()) {
        line += " (as f64: " + view.asDouble + ")";
    }
    return line;
}

// Fills mng's local map from the segment, never waiting for the lock forever.
int readList(DevConfigMng& mng)
{
    guardLockWait("config");
    int rc = mng.update();
    releaseLockGuard();
    return rc == 1 ? EXIT_OK : failure("could not read the config list");
}

int configList(const ToolArgs& args)
{
    if (args.words.size() != 1) {
        return usageError("usage: config list");
    }
    if (!requireOwner(*findList("config"))) {
        return EXIT_FAILURE_CODE;
    }
    DevConfigMng mng(false);
    int rc = readList(mng);
    if (rc != EXIT_OK) {
        return rc;
    }
    if (args.json) {
        std::string out = "{\"count\":" + std::to_string(mng.configs.size()) + ",\"entries\":[";
        bool first = true;
        for (const auto& kv : mng.configs) {
            out += (first ? "" : ",") + entryJson(kv.second, false);
            first = false;
        }
        std::cout << out << "]}" << std::endl;
        return EXIT_OK;
    }
    if (mng.configs.empty()) {
        std::cout << "no entries" << std::endl;
    }
    for (const auto& kv : mng.configs) {
        std::cout << entryLine(kv.second) << "\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

int configGet(const ToolArgs& args)
{
    if (args.words.size() != 2 && args.words.size() != 3) {
        return usageError("usage: config get KEY [TYPE]");
    }
    const std::string& key = args.words[1];
    std::string bad = checkKey(key);
    if (!bad.empty()) {
        return usageError(bad);
    }
    const TypeName* asType = nullptr;
    if (args.words.size() == 3) {
        asType = findType(args.words[2]);
        if (asType == nullptr) {
            return usageError("unknown type: " + args.words[2] + " (u8, i32, i64, f64, text)");
        }
    }
    if (!requireOwner(*findList("config"))) {
        return EXIT_FAILURE_CODE;
    }
    DevConfigMng mng(false);
    int rc = readList(mng);
    if (rc != EXIT_OK) {
        return rc;
    }
    auto found = mng.configs.find(key);
    if (found == mng.configs.end()) {
        return failure("no config entry " + key);
    }
    const ConfigInfo& entry = found->second;
    int32_t stored = entry.dataType;
    if (asType != nullptr && asType->type != stored) {
        return failure("entry " + key + " holds a " + storedTypeName(stored) + " value, not " + asType->name);
    }
    // Without a TYPE, eight bytes that form a normal double are read as one.
    bool asDouble = asType != nullptr ? asType->isDouble : !viewOf(entry, false).asDouble.empty();
    if (args.json) {
        std::cout << entryJson(entry, asDouble) << std::endl;
    } else {
        std::cout << viewOf(entry, asDouble).text << std::endl;
    }
    return EXIT_OK;
}

int configSet(const ToolArgs& args)
{
    if (args.words.size() != 4) {
        return usageError("usage: config set KEY TYPE VALUE");
    }
    const std::string& key = args.words[1];
    std::string bad = checkKey(key);
    if (!bad.empty()) {
        return usageError(bad);
    }
    const TypeName* type = findType(args.words[2]);
    if (type == nullptr) {
        return usageError("unknown type: " + args.words[2] + " (u8, i32, i64, f64, text)");
    }
    ConfigInfo entry;
    bad = buildEntry(key, *type, args.words[3], &entry);
    if (!bad.empty()) {
        return usageError(bad);
    }
    if (!requireOwner(*findList("config"))) {
        return EXIT_FAILURE_CODE;
    }
    DevConfigMng mng(false);
    // In place under the lock, so entries other processes inserted stay.
    guardLockWait("config");
    int rc = mng.operateSHMNotSafe(DevConfigMng::insertConfig2SHM, &entry);
    releaseLockGuard();
    if (rc != 1) {
        return failure("config list is full (" + std::to_string(DevConfigListInShm::capacity) + " entries); " +
                       key + " not added");
    }
    if (args.json) {
        std::cout << entryJson(entry, type->isDouble) << std::endl;
    } else {
        std::cout << "set " << key << " = " << viewOf(entry, type->isDouble).text << " ("
                  << (type->isDouble ? "f64" : storedTypeName(type->type)) << ")" << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdConfig(const ToolArgs& args)
{
    if (args.words.empty()) {
        return usageError("usage: config list | get KEY [TYPE] | set KEY TYPE VALUE");
    }
    const std::string& sub = args.words[0];
    if (sub == "list") return configList(args);
    if (sub == "get") return configGet(args);
    if (sub == "set") return configSet(args);
    return usageError("unknown config command: " + sub + " (list, get, set)");
}
