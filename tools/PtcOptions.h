#ifndef V2XSHM_TOOLS_PTCOPTIONS_H
#define V2XSHM_TOOLS_PTCOPTIONS_H

#include <map>
#include <string>
#include <vector>

#include "ToolCommon.h"
#include "ptc/IFPTCBase.h"

// The options of the participant commands. Each reader returns an empty
// string on success, else the complaint for the usage line.

constexpr int DEFAULT_TARGET_KEY = 77502;  // the tool's own target list

// The list for `show targets` / `targets build`: the tool's default key or --key.
ListInfo targetList(int key);

// Reads "--name value" pairs from words[from...] into *out. Known names only, each once.
std::string parseOptions(const std::vector<std::string>& words, size_t from, const std::vector<std::string>& known,
                         std::map<std::string, std::string>* out);
// The option as a number in [lo, hi] (whole when `whole`); def when absent
// (a NaN def makes the option required).
std::string numberOption(const std::map<std::string, std::string>& opts, const std::string& name, double lo,
                         double hi, bool whole, double def, double* out);
// The option's text into a fixed-width field of `width` characters.
std::string textOption(const std::map<std::string, std::string>& opts, const std::string& name, bool required,
                       char* field, size_t width);
// The --key option of show targets / targets build.
std::string keyOption(const std::vector<std::string>& words, int* key);
// Fills the fix of a pushed participant from --lon, --lat, --speed, --heading.
std::string fillFix(const std::map<std::string, std::string>& opts, IF_PTCBase* p);

#endif
