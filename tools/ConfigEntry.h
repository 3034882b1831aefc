#ifndef V2XSHM_TOOLS_CONFIGENTRY_H
#define V2XSHM_TOOLS_CONFIGENTRY_H

#include <string>

#include "shm/ConfigInfo.h"

// A configuration entry from the command line's KEY, TYPE and VALUE words.

// A type name the command line accepts and what it stores.
struct TypeName {
    const char* name;
    ConfigInfo::DataType type;
    bool isDouble;  // eight bytes holding a double's bits
};

// The type called `name` (u8, i32, i64, f64, text and their long names), or null.
const TypeName* findType(const std::string& name);

// An empty string when key fits the 16-character field, else the complaint.
std::string checkKey(const std::string& key);

// Fills entry from the command line's TYPE and VALUE; an empty string on
// success, else the complaint.
std::string buildEntry(const std::string& key, const TypeName& type, const std::string& text, ConfigInfo* entry);

// Inserts or replaces the entry in the shared config list, in place under
// its lock (guarded) so that entries other processes inserted stay. "" on
// success, else why nothing was written. Only once the list's owner was
// seen running.
std::string storeEntry(ConfigInfo* entry);

#endif
