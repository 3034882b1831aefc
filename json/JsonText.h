#ifndef V2XSHM_JSON_JSONTEXT_H
#define V2XSHM_JSON_JSONTEXT_H

#include <nlohmann/json.hpp>
#include <string>

#include "JsonFwd.h"
#include "RecordText.h"

// The JSON form shared by every front (the tool, the live page, the bridge):
// documents, numbers and texts written one way everywhere.

// JSON output. Texts come from shared memory, files and datagrams and need
// not be UTF-8: every byte that is not part of valid UTF-8 is written as
// U+FFFD, so the output always parses.
std::string jsonText(const Json& doc);
// Prints `doc` on one line of stdout.
void printJson(const Json& doc);
// Text as a JSON string literal, quotes included.
std::string jsonString(const std::string& text);
// A number as formatDouble writes it: whole values without a fraction.
Json jsonNumber(double value);

// A float as the fewest digits that read back to the same float; whole
// values without a fraction; null when not finite.
Json jsonFloat(float value);

#endif
