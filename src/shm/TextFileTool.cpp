#include "shm/TextFileTool.h"

#include <cstring>
#include <exception>

TextFileReadTool::~TextFileReadTool()
{
    close_if();
}

int TextFileReadTool::init_if(const char* path)
{
    if (in.good() && in.is_open()) {
        return -1;
    }
    if (in.is_open()) {
        in.close();  // a finished file, which close_if leaves open
    }
    in.clear();
    if (path == nullptr) {
        return -2;
    }
    in.open(path, std::ios::in);
    return in.is_open() ? 1 : -2;
}

int TextFileReadTool::read_if(char* buf, int size)
{
    if (in.fail() || !in.is_open() || buf == nullptr || size < 1) {
        return -1;
    }
    memset(buf, 0, size);
    if (in.eof()) {
        return 0;
    }
    try {
        in.getline(buf, size);
    } catch (const std::exception&) {
        return -2;
    }
    return 1;
}

void TextFileReadTool::close_if()
{
    if (!in.fail()) {
        in.close();
    }
}

TextFileAppendTool::~TextFileAppendTool()
{
    close_of();
}

int TextFileAppendTool::init_of(const char* path)
{
    if (out.good() && out.is_open()) {
        return -1;
    }
    if (out.is_open()) {
        out.close();
    }
    out.clear();
    if (path == nullptr) {
        return -1;
    }
    out.open(path, std::ios::out | std::ios::app);
    return out.is_open() ? 1 : -1;
}

void TextFileAppendTool::write_of(std::string line)
{
    if (out.good() && out.is_open()) {
        out << line << '\n';
        out.flush();
    }
}

void TextFileAppendTool::close_of()
{
    if (!out.fail()) {
        out.close();
    }
}
