#ifndef V2XSHM_TOOLS_TOOLCOMMON_H
#define V2XSHM_TOOLS_TOOLCOMMON_H

#include <string>
#include <vector>

#include "JsonText.h"

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
// `error` says why, naming the file.
bool readBoundedFile(const std::string& file, size_t limit, std::vector<char>* bytes, std::string* error);

// Checks, without creating anything, that `list` has an owner: its segment
// exists and its semaphore was initialised by the owner. Otherwise prints
// which list has no owner and returns false.
bool requireOwner(const ListInfo& list);

// Arms a guard that ends the process with a clear message if a transfer on
// `listName` waits for its lock longer than `seconds`; disarm with 0.
void guardLockWait(const char* listName, unsigned seconds = 5);
void releaseLockGuard();

// What the kernel says about one list's segment and semaphore, found with
// look-up-only calls (shmget/semget with flags 0, IPC_STAT, GETVAL): probing
// never creates anything.
struct ListProbe {
    enum SemState { SEM_ABSENT, SEM_UNINITIALISED, SEM_FREE, SEM_HELD };

    bool segment = false;       // a segment exists under the list's key
    long segmentSize = 0;       // its size in bytes (fixed by its creator)
    long attached = 0;          // processes attached to it (shm_nattch)
    SemState sem = SEM_ABSENT;  // SEM_UNINITIALISED: made by a non-owner, never set to 1
    int waiting = 0;            // processes blocked on the lock (GETNCNT)

    // Segment and an initialised semaphore: an owner set the list up.
    bool owned() const { return segment && sem != SEM_ABSENT && sem != SEM_UNINITIALISED; }
};
ListProbe probeList(const ListInfo& list);
// "absent", "never initialised", "free" or "held".
const char* semStateName(ListProbe::SemState state);

#endif
