#ifndef V2XSHM_SHM_TEXTFILETOOL_H
#define V2XSHM_SHM_TEXTFILETOOL_H

#include <fstream>
#include <string>

// Reads a text file line by line. One object per thread.
class TextFileReadTool {
public:
    ~TextFileReadTool();

    // Opens path for reading. 1 opened; -1 when a file is already open and
    // readable; -2 when path cannot be opened (or is null). A file left open
    // in an error state (read to its end) is closed first.
    int init_if(const char* path);
    // Zeroes size bytes of buf and reads one line into it (at most size-1
    // characters, the line end removed).
    //  1  a line was read, or the read found nothing (empty buffer; every
    //     later call then returns -1);
    //  0  the previous line ended the file without a line end;
    // -1  no file open, an earlier read failed (nothing left, or a line
    //     longer than size-1 characters, cut at size-1), or buf is null or
    //     size < 1;
    // -2  the read threw.
    int read_if(char* buf, int size);
    // Closes the file unless the stream is in an error state.
    void close_if();

private:
    std::ifstream in;
};

// Appends lines to a text file (created if missing). One object per thread.
class TextFileAppendTool {
public:
    ~TextFileAppendTool();

    // Opens path for appending. 1 opened; -1 already open, or path cannot be
    // opened (or is null). A file left open in an error state is closed first.
    int init_of(const char* path);
    // Writes line and a line end, and flushes; nothing when no file is open
    // or the stream is in an error state.
    void write_of(std::string line);
    // Closes the file unless the stream is in an error state.
    void close_of();

private:
    std::ofstream out;
};

#endif
