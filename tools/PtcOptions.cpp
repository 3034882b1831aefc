#include "PtcOptions.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "RecordText.h"
#include "ptc/TargetMng.h"

ListInfo targetList(int key)
{
    return {"targets", "TargetMng", key, TargetMng::SHM_SIZE};
}

std::string parseOptions(const std::vector<std::string>& words, size_t from, const std::vector<std::string>& known,
                         std::map<std::string, std::string>* out)
{
    for (size_t i = from; i < words.size(); i += 2) {
        std::string name = words[i].compare(0, 2, "--") == 0 ? words[i].substr(2) : "";
        bool isKnown = false;
        for (const std::string& k : known) {
            isKnown = isKnown || name == k;
        }
        if (!isKnown) {
            return "unknown option: " + words[i];
        }
        if (i + 1 >= words.size()) {
            return words[i] + " needs a value";
        }
        if (out->count(name) != 0) {
            return words[i] + " given twice";
        }
        (*out)[name] = words[i + 1];
    }
    return "";
}

std::string numberOption(const std::map<std::string, std::string>& opts, const std::string& name, double lo,
                         double hi, bool whole, double def, double* out)
{
    auto found = opts.find(name);
    if (found == opts.end()) {
        *out = def;
        return std::isnan(def) ? "missing --" + name : "";
    }
    const std::string& text = found->second;
    char* end = nullptr;
    double value = text.empty() || isspace((unsigned char)text[0]) ? NAN : strtod(text.c_str(), &end);
    if (end == nullptr || *end != '\0' || !std::isfinite(value) || value < lo || value > hi ||
        (whole && value != std::floor(value))) {
        return "--" + name + " '" + text + "' is not " + (whole ? "a whole number" : "a number") + " in [" +
               formatDouble(lo) + ", " + formatDouble(hi) + "]";
    }
    *out = value;
    return "";
}

std::string textOption(const std::map<std::string, std::string>& opts, const std::string& name, bool required,
                       char* field, size_t width)
{
    auto found = opts.find(name);
    if (found == opts.end()) {
        return required ? "missing --" + name : "";
    }
    if (found->second.size() > width) {
        return "--" + name + " '" + found->second + "' is longer than " + std::to_string(width) + " characters";
    }
    memcpy(field, found->second.data(), found->second.size());
    return "";
}

std::string keyOption(const std::vector<std::string>& words, int* key)
{
    std::map<std::string, std::string> opts;
    std::string bad = parseOptions(words, 0, {"key"}, &opts);
    double value;
    if (bad.empty()) {
        bad = numberOption(opts, "key", 1, 2147483647.0, true, DEFAULT_TARGET_KEY, &value);
    }
    *key = (int)value;
    return bad;
}

std::string fillFix(const std::map<std::string, std::string>& opts, IF_PTCBase* p)
{
    double lon, lat, speed, heading;
    std::string bad = numberOption(opts, "lon", -180, 180, false, NAN, &lon);
    if (bad.empty()) bad = numberOption(opts, "lat", -90, 90, false, NAN, &lat);
    if (bad.empty()) bad = numberOption(opts, "speed", 0, 1000, false, 0, &speed);
    if (bad.empty()) bad = numberOption(opts, "heading", 0, 359.999, false, 0, &heading);
    if (!bad.empty()) {
        return bad;
    }
    p->gnss.position.longitude = lon;
    p->gnss.position.latitude = lat;
    p->gnss.position.lonHemisphere = lon < 0 ? 'W' : 'E';
    p->gnss.position.latHemisphere = lat < 0 ? 'S' : 'N';
    p->gnss.speed = (float)speed;
    p->gnss.heading = (float)heading;
    p->gnss.refreshTime();
    p->gnss.refreshMovable2D();
    return "";
}
