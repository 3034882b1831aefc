#include "JsonText.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

std::string formatDouble(double value)
{
    char buf[40];
    for (int precision = 1; precision <= 17; ++precision) {
        snprintf(buf, sizeof buf, "%.*g", precision, value);
        if (strtod(buf, nullptr) == value) {
            break;
        }
    }
    return buf;
}

std::string jsonText(const Json& doc)
{
    return doc.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void printJson(const Json& doc)
{
    std::cout << jsonText(doc) << std::endl;
}

std::string jsonString(const std::string& text)
{
    return jsonText(text);
}

Json jsonNumber(double value)
{
    // Exactly representable whole numbers print as integers, as before.
    if (value == (double)(int64_t)value && value > -9.0e15 && value < 9.0e15) {
        return (int64_t)value;
    }
    return value;
}

Json jsonFloat(float value)
{
    if (!std::isfinite(value)) {
        return nullptr;
    }
    // The float's shortest digits, read back as the double the JSON holds.
    char buf[32];
    for (int digits = 1; digits <= 9; ++digits) {
        snprintf(buf, sizeof buf, "%.*g", digits, (double)value);
        if (strtof(buf, nullptr) == value) {
            break;
        }
    }
    return jsonNumber(strtod(buf, nullptr));
}

std::string fieldText(const char* field, size_t width)
{
    return std::string(field, strnlen(field, width));
}

std::string hexText(const void* bytes, int n, const char* gap)
{
    const uint8_t* b = static_cast<const uint8_t*>(bytes);
    std::string out;
    char buf[4];
    for (int i = 0; i < n; ++i) {
        snprintf(buf, sizeof buf, "%02x", (unsigned)b[i]);
        out += (i ? gap : "") + std::string(buf);
    }
    return out;
}

std::string hexByte(uint8_t value)
{
    return hexText(&value, 1);
}
