#ifndef V2XSHM_JSON_RECORDTEXT_H
#define V2XSHM_JSON_RECORDTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>

// How numbers and text fields of records are written, in JSON and in the
// fronts' plain text alike.

// A double printed with the fewest digits that read back to the same value.
std::string formatDouble(double value);
// A fixed-width text field of a record, up to its first zero byte.
std::string fieldText(const char* field, size_t width);
// `n` bytes as lower-case hex digits, two a byte, `gap` between bytes.
std::string hexText(const void* bytes, int n, const char* gap = "");
// One byte as two lower-case hex digits.
std::string hexByte(uint8_t value);

#endif
