#include "shm/ProcInfo.h"

#include <cstring>

namespace {

void setText(char* field, const char* text)
{
    memset(field, 0, ProcInfo::TEXT_LEN);
    if (text != nullptr) {
        memcpy(field, text, strnlen(text, ProcInfo::TEXT_LEN));
    }
}

}  // namespace

ProcInfo::ProcInfo()
{
    memset(procName, 0, sizeof procName);
    memset(procTag, 0, sizeof procTag);
}

ProcInfo::ProcInfo(const char* name, const char* tag) : ProcInfo()
{
    setInfo(name, tag);
}

void ProcInfo::setInfo(const char* name, const char* tag)
{
    setText(procName, name);
    setText(procTag, tag);
}
