#ifndef V2XSHM_TOOLS_TOOLPARSE_H
#define V2XSHM_TOOLS_TOOLPARSE_H

#include <string>

// The whole text as a whole number within [lo, hi] by the tool's number
// rule (readWholeNumber); false, with *out unchanged, when it is anything else.
bool parseWhole(const std::string& text, long long lo, long long hi, long long* out);

#endif
