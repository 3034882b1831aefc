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

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iostream>

#include "ConfigEntry.h"
#include "RecordText.h"
#include "ShmJson.h"
#include "shm/DevConfigMng.h"

namespace {

// One entry's value as text, read as stored (or, for eight bytes, as a
// double); `asDouble` gets the f64 reading of eight bytes forming a normal
// double, else stays empty.
std::string valueText(const ConfigInfo& entry, bool readAsDouble, std::string* asDouble = nullptr)
{
    int32_t type = entry.dataType;
    char out[ConfigInfo::VALUE_LEN] = {};
    if (entry.getValue(out) != 1) {
        return "(type " + std::to_string(type) + ")";
    }
    if (type == ConfigInfo::ONE_BYTE) {
        return std::to_string((unsigned)(uint8_t)out[0]);
    }
    if (type == ConfigInfo::FOUR_BYTES) {
        int32_t v;
        memcpy(&v, out, sizeof v);
        return std::to_string(v);
    }
    if (type == ConfigInfo::EIGHT_BYTES) {
        int64_t v;
        double d;
        memcpy(&v, out, sizeof v);
        memcpy(&d, out, sizeof d);
        if (asDouble != nullptr && std::isnormal(d)) {
            *asDouble = formatDouble(d);
        }
        return readAsDouble ? formatDouble(d) : std::to_string((long long)v);
    }
    return out;
}

std::string entryLine(const ConfigInfo& entry)
{
    std::string asDouble;
    std::string value = valueText(entry, false, &asDouble);
    char head[64];
    snprintf(head, sizeof head, "  %-5s ", configTypeName(entry.dataType));
    std::string line = padRight(fieldText(entry.key, ConfigInfo::KEY_LEN), 16) + head + value;
    if (!asDouble.empty()) {
        line += " (as f64: " + asDouble + ")";
    }
    return line;
}

// One entry as JSON, its eight bytes read as a double when asked.
void printEntryJson(const ConfigInfo& entry, bool asDouble)
{
    if (asDouble) {
        printJson(ConfigAsF64{entry});
    } else {
        printJson(entry);
    }
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
        printJson(ConfigListView{mng.configs});
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
        return failure("entry " + key + " holds a " + configTypeName(stored) + " value, not " + asType->name);
    }
    // Without a TYPE, eight bytes that form a normal double are read as one.
    std::string normalDouble;
    valueText(entry, false, &normalDouble);
    bool asDouble = asType != nullptr ? asType->isDouble : !normalDouble.empty();
    if (args.json) {
        printEntryJson(entry, asDouble);
    } else {
        std::cout << valueText(entry, asDouble) << std::endl;
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
    bad = storeEntry(&entry);
    if (!bad.empty()) {
        return failure(bad);
    }
    if (args.json) {
        printEntryJson(entry, type->isDouble);
    } else {
        std::cout << "set " << key << " = " << valueText(entry, type->isDouble) << " ("
                  << (type->isDouble ? "f64" : configTypeName(type->type)) << ")" << std::endl;
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
