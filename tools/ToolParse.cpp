#include "ToolParse.h"

#include "ToolCommon.h"

bool parseWhole(const std::string& text, long long lo, long long hi, long long* out)
{
    return readWholeNumber(text, lo, hi, out) == WholeNumber::OK;
}
