#include "BridgeOptions.h"

#include <algorithm>
#include <fstream>

#include "ConfigEntry.h"
#include "BridgeLists.h"
#include "ToolCommon.h"

namespace {

std::vector<std::string> splitList(const std::string& text)
{
    std::vector<std::string> out;
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        if (comma == std::string::npos) {
            comma = text.size();
        }
        out.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
    return out;
}

// A unit ID is one topic level: letters, digits, '-', '_' and '.', not "all".
std::string checkUnit(const std::string& unit)
{
    bool plain = !unit.empty() && unit.size() <= 64 && std::all_of(unit.begin(), unit.end(), [](char c) {
        return isalnum((unsigned char)c) || c == '-' || c == '_' || c == '.';
    });
    if (!plain || unit == "all") {
        return "unit '" + unit + "' must be 1 to 64 letters, digits, '-', '_' or '.', and not 'all'";
    }
    return "";
}

std::string setBroker(const std::string& text, BridgeOptions* out)
{
    size_t colon = text.rfind(':');
    out->host = colon == std::string::npos ? text : text.substr(0, colon);
    if (colon != std::string::npos) {
        long long port = 0;
        WholeNumber r = readWholeNumber(text.substr(colon + 1), 1, 65535, &port);
        if (r != WholeNumber::OK) {
            return wholeNumberError("broker port", text.substr(colon + 1), r, 1, 65535);
        }
        out->port = (int)port;
    }
    return out->host.empty() ? "broker '" + text + "' names no host" : "";
}

std::string readPassword(const std::string& file, BridgeOptions* out)
{
    std::vector<char> bytes;
    std::string error;
    if (!readBoundedFile(file, 4096, &bytes, &error)) {
        return error;
    }
    out->password.assign(bytes.begin(), bytes.end());
    out->password = out->password.substr(0, out->password.find('\n'));
    return "";
}

std::string setOption(const std::string& name, const std::string& value, BridgeOptions* out)
{
    if (name == "--broker") return setBroker(value, out);
    if (name == "--unit") {
        out->unit = value;
        return checkUnit(value);
    }
    if (name == "--lists") {
        out->lists = splitList(value);
        for (const std::string& list : out->lists) {
            const auto& known = bridgeLists();
            if (std::find(known.begin(), known.end(), list) == known.end()) {
                return "unknown list '" + list + "' (ptc, obu, rsu, map, lights, rsi, config, approach)";
            }
        }
        return "";
    }
    if (name == "--period") {
        long long ms = 0;
        WholeNumber r = readWholeNumber(value, 10, 3600000, &ms);
        out->periodMs = (int)ms;
        return r == WholeNumber::OK ? "" : wholeNumberError("period", value, r, 10, 3600000);
    }
    if (name == "--config-keys") {
        for (const std::string& key : splitList(value)) {
            std::string bad = checkKey(key);
            if (!bad.empty()) {
                return bad;
            }
            out->configKeys.insert(key);
        }
        return "";
    }
    if (name == "--cafile") out->caFile = value;
    else if (name == "--cert") out->certFile = value;
    else if (name == "--key") out->keyFile = value;
    else if (name == "--username") out->username = value;
    else if (name == "--password-file") return readPassword(value, out);
    else return "unknown option " + name;
    return "";
}

}  // namespace

const char* const BRIDGE_SYNTAX =
    "--broker HOST[:PORT] --unit ID [--lists LIST,...] [--period MS] [--config-keys KEY,...] "
    "[--cafile FILE [--cert FILE --key FILE]] [--username NAME [--password-file FILE]]";

std::string parseBridgeOptions(const std::vector<std::string>& words, BridgeOptions* out)
{
    for (size_t i = 0; i < words.size(); i += 2) {
        if (i + 1 >= words.size()) {
            return "option " + words[i] + " needs a value";
        }
        std::string bad = setOption(words[i], words[i + 1], out);
        if (!bad.empty()) {
            return bad;
        }
    }
    if (out->host.empty() || out->unit.empty()) {
        return std::string("usage: bridge ") + BRIDGE_SYNTAX;
    }
    if (out->certFile.empty() != out->keyFile.empty() || (!out->certFile.empty() && out->caFile.empty())) {
        return "a client certificate needs --cert and --key together, and --cafile";
    }
    if (!out->password.empty() && out->username.empty()) {
        return "a password needs --username";
    }
    if (out->lists.empty()) {
        out->lists = bridgeLists();
    }
    if (out->port == 0) {
        out->port = out->caFile.empty() ? 1883 : 8883;
    }
    return "";
}
