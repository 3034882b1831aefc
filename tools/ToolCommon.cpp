#include "ToolCommon.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* guardedList = "";

void onLockTimeout(int)
{
    // Only async-signal-safe calls here.
    const char* head = "v2xshm: timed out waiting for the lock of list ";
    ssize_t n = write(STDERR_FILENO, head, strlen(head));
    n = write(STDERR_FILENO, guardedList, strlen(guardedList));
    n = write(STDERR_FILENO, "\n", 1);
    (void)n;
    _exit(EXIT_FAILURE_CODE);
}

}  // namespace

const std::vector<ListInfo>& knownLists()
{
    static const std::vector<ListInfo> lists = {
        {"procs", "DevProcListMng", 77101, 2564},
        {"config", "DevConfigMng", 77102, 6660},
        {"gnss", "DevGNSSMng", 77103, 105},
        {"ui", "DevUIClientMng", 77104, 3076},
        {"givenid", "DevPTCGivenIDMng", 77105, 2},
        {"obu", "PtcOBUListMng", 77201, 63492},
        {"rsu", "PtcRSUListMng", 77202, 18308},
        {"ptc", "PTCListMng", 77203, 58884},
        {"vehicle", "VehStatusMng", 77301, 56},
        {"trace", "VehTraceMng", 77302, 52508},
        {"map", "LMNodeListMng", 77401, 1048576},
        {"lights", "LMTLListMng", 77402, 1048576},
        {"rsi", "LMRSIListMng", 77403, 1048576},
        {"collisions", "TgtCollisionMng", 77501, 51460},
        {"targets", "TargetMng", 77502, 12356},  // the tool's target list; other keys with --key
        {"location", "LMMapResMng", 77511, 41},
        {"rsiresult", "LMRSIResMng", 77512, 8516},
        {"phaseresult", "LMTLPhaseResMng", 77513, 484},
        // The message ring and its totals take their keys from the logging
        // process; these are the tool's defaults.
        {"comm", "CommRecordMng", 77601, 19008},
        {"commsum", "CommSumMng", 77602, 1820},
    };
    return lists;
}

const ListInfo* findList(const std::string& name)
{
    for (const ListInfo& list : knownLists()) {
        if (name == list.name) {
            return &list;
        }
    }
    return nullptr;
}

int usageError(const std::string& message)
{
    std::cerr << "v2xshm: " << message << std::endl;
    return EXIT_USAGE;
}

int failure(const std::string& message)
{
    std::cerr << "v2xshm: " << message << std::endl;
    return EXIT_FAILURE_CODE;
}

bool readBoundedFile(const std::string& file, size_t limit, std::vector<char>* bytes, std::string* error,
                     const char* limitName)
{
    struct stat st;
    if (stat(file.c_str(), &st) != 0) {
        *error = "cannot read " + file + ": " + strerror(errno);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        *error = "cannot read " + file + ": not a regular file";
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        *error = "cannot read " + file + ": " + strerror(errno);
        return false;
    }
    bytes->assign(limit + 1, 0);
    in.read(bytes->data(), (std::streamsize)bytes->size());
    if (in.bad()) {
        *error = "cannot read " + file;
        return false;
    }
    bytes->resize((size_t)in.gcount());
    if (bytes->size() > limit) {
        *error = file + ": larger than " + std::to_string(limit) + " bytes" +
                 (limitName != nullptr ? std::string(" (") + limitName + ")" : "");
        return false;
    }
    return true;
}

const char* const NUMBER_RULE =
    "Numbers are decimal, a leading zero changing nothing (010 is ten); a whole number may also be "
    "written in hexadecimal after 0x (0x10 is sixteen).";

WholeNumber readWholeNumber(const std::string& text, long long lo, long long hi, long long* out)
{
    const char* s = text.c_str();
    const char* digits = s + ((s[0] == '-' || s[0] == '+') ? 1 : 0);
    bool hex = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    unsigned char first = (unsigned char)digits[hex ? 2 : 0];
    // strtoll alone would skip blanks and read 010 as octal with base 0.
    if (!(hex ? isxdigit(first) : isdigit(first))) {
        return WholeNumber::NOT_WHOLE;
    }
    char* end = nullptr;
    errno = 0;
    long long value = strtoll(s, &end, hex ? 16 : 10);
    if (*end != '\0' || end != s + text.size()) {
        return WholeNumber::NOT_WHOLE;
    }
    if (errno == ERANGE || value < lo || value > hi) {
        return WholeNumber::OUT_OF_RANGE;
    }
    *out = value;
    return WholeNumber::OK;
}

std::string wholeNumberError(const std::string& what, const std::string& text, WholeNumber result, long long lo,
                             long long hi)
{
    if (result == WholeNumber::OUT_OF_RANGE) {
        return what + " '" + text + "' is outside " + std::to_string(lo) + ".." + std::to_string(hi);
    }
    return what + " '" + text + "' is not a whole number";
}

std::string rewriteWholeNumber(std::string& text)
{
    long long value = 0;
    WholeNumber result = readWholeNumber(text, INT64_MIN, INT64_MAX, &value);
    if (result != WholeNumber::OK) {
        return wholeNumberError("value", text, result, INT64_MIN, INT64_MAX);
    }
    text = std::to_string(value);
    return "";
}

namespace {

// Code points a terminal shows two columns wide (East Asian wide and full
// width forms, emoji).
bool isWide(uint32_t c)
{
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF && c != 0x303F) ||
           (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE4F) ||
           (c >= 0xFF00 && c <= 0xFF60) || (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1F64F) ||
           (c >= 0x1F900 && c <= 0x1F9FF) || (c >= 0x20000 && c <= 0x3FFFD);
}

}  // namespace

size_t displayWidth(const std::string& text)
{
    size_t width = 0;
    for (size_t i = 0; i < text.size();) {
        unsigned char lead = (unsigned char)text[i];
        size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
        uint32_t c = length == 1 ? lead : lead & (0x7F >> length);
        bool valid = length != 0 && i + length <= text.size();
        for (size_t k = 1; valid && k < length; ++k) {
            unsigned char next = (unsigned char)text[i + k];
            valid = (next & 0xC0) == 0x80;
            c = (c << 6) | (next & 0x3F);
        }
        if (!valid) {
            width += 1;  // shown as one replacement character
            i += 1;
            continue;
        }
        width += isWide(c) ? 2 : 1;
        i += length;
    }
    return width;
}

std::string padRight(const std::string& text, size_t columns)
{
    size_t width = displayWidth(text);
    return width >= columns ? text : text + std::string(columns - width, ' ');
}

std::string agoText(double refreshTime, double now)
{
    if (refreshTime == 0.0) {
        return "never";
    }
    if (!std::isfinite(refreshTime)) {
        return "at a damaged time (not a finite number)";
    }
    char text[64];
    snprintf(text, sizeof text, "%.1f s ago", now - refreshTime);
    return text;
}

bool requireOwner(const ListInfo& list)
{
    ListProbe probe = probeList(list);
    if (probe.owned()) {
        return true;
    }
    std::cerr << "v2xshm: list " << list.name << " (key " << list.key << ") has no owner ("
              << ownershipName(probe.ownership) << "); start one with 'v2xshm owner'" << std::endl;
    return false;
}

ListProbe probeList(const ListInfo& list)
{
    return probeListOwner(list.key);
}

void guardLockWait(const char* listName, unsigned seconds)
{
    guardedList = listName;
    signal(SIGALRM, onLockTimeout);
    alarm(seconds);
}

void releaseLockGuard()
{
    alarm(0);
}
