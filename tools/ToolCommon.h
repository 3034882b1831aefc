#ifndef V2XSHM_TOOLS_TOOLCOMMON_H
#define V2XSHM_TOOLS_TOOLCOMMON_H

#include <string>
#include <vector>

#include "RecordText.h"
#include "v2xshm-unit/ListOwner.h"

// Shared pieces of the v2xshm command-line tool: the segment map, argument
// handling, error reporting and the checks that keep reading from creating
// segments or blocking forever.

// One list of the segment map, as the tool knows it.
struct ListInfo {
    const char* name;     // the tool's name for the list (owner, status, errors)
    const char* manager;  // the managing class
    int key;
    int size;
};

// Every list the tool handles, in segment-map order.
const std::vector<ListInfo>& knownLists();
// The list called `name`, or null.
const ListInfo* findList(const std::string& name);

// The command line after the command word, with --json taken out.
struct ToolArgs {
    bool json = false;
    std::vector<std::string> words;
};

// Prints "v2xshm: <message>" on stderr; returns the exit code for bad input.
int usageError(const std::string& message);
// Prints "v2xshm: <message>" on stderr; returns the exit code for a failure.
int failure(const std::string& message);

// Exit codes.
constexpr int EXIT_OK = 0;
constexpr int EXIT_FAILURE_CODE = 1;  // a transfer failed or a list is absent
constexpr int EXIT_USAGE = 2;         // bad input; nothing was written

// Reads a regular file of at most `limit` bytes into `bytes`. Directories,
// devices and pipes are refused (a device such as /dev/zero never ends), and
// so is a longer file, without reading past limit + 1 bytes. On failure
// `error` says why, naming the file; `limitName`, when given, says what the
// limit is ("the map list's size") in the message about a longer file.
bool readBoundedFile(const std::string& file, size_t limit, std::vector<char>* bytes, std::string* error,
                     const char* limitName = nullptr);

// The one rule for numbers on the command line, stated in the help: numbers
// are decimal, a leading zero changing nothing (010 is ten); a whole number
// may also be written in hexadecimal after 0x (0x10 is sixteen).
extern const char* const NUMBER_RULE;
enum class WholeNumber { OK, NOT_WHOLE, OUT_OF_RANGE };
// The whole text as a whole number by that rule, with an optional sign; *out
// is set only when it lies within [lo, hi].
WholeNumber readWholeNumber(const std::string& text, long long lo, long long hi, long long* out);
// "WHAT 'TEXT' is not a whole number", or "... is outside LO..HI".
std::string wholeNumberError(const std::string& what, const std::string& text, WholeNumber result, long long lo,
                             long long hi);

// Rewrites a whole number given by that rule in plain decimal, for parsers
// with rules of their own; "" when done, else the complaint.
std::string rewriteWholeNumber(std::string& text);

// Columns a text takes on a terminal: UTF-8 sequences count once (wide East
// Asian characters twice), every byte of an invalid sequence once.
size_t displayWidth(const std::string& text);
// The text followed by blanks up to `columns` columns (none when wider).
std::string padRight(const std::string& text, size_t columns);

// "3.2 s ago" for a refresh time, "never" for 0, and "at a damaged time (not
// a finite number)" for a stamp that is no time at all.
std::string agoText(double refreshTime, double now);

// Checks, without creating anything, that `list` has an owner: its segment
// exists, an owner set up its semaphore and is still attached. Otherwise
// prints which list has no owner (absent, owner gone, never initialised) and
// returns false.
bool requireOwner(const ListInfo& list);

// Arms a guard that ends the process with a clear message if a transfer on
// `listName` waits for its lock longer than `seconds`; disarm with 0.
void guardLockWait(const char* listName, unsigned seconds = 5);
void releaseLockGuard();

// What the kernel says about one list's segment and semaphore (who keeps
// it, attached processes, semaphore state), from the unit layer's probe, so
// that the tool and the consistency check agree on which lists have an owner.
// Probing never creates anything.
using ListProbe = ListOwnerProbe;
ListProbe probeList(const ListInfo& list);

#endif
