#ifndef V2XSHM_UNIT_LISTCHECK_H
#define V2XSHM_UNIT_LISTCHECK_H

#include <string>
#include <utility>
#include <vector>

#include "v2xshm-unit/ListOwner.h"

// The consistency check of the shared lists: the first thing to run on a unit
// that misbehaves, and after a crash.
//
// For each list asked for, the check looks the segment and the semaphore up
// without creating anything (shmget/semget with flags 0), attaches the
// segment read-only, takes the lock with IPC_NOWAIT | SEM_UNDO retried until
// a deadline, copies the segment, gives the lock back and detaches; it then
// analyses the copy. It never writes a segment and never blocks for longer
// than the deadline. When the lock can not be had, the segment is copied
// without it (the copy may then be torn) and the holder is reported.
//
// What is checked, per list: the segment size against the list's layout;
// the semaphore (value, never initialised, held past the deadline by a live
// or dead process); counts within the capacity (the participant lists may
// list one record past their array); ring indexes and counts within the ring;
// the message totals against the sums of their peer rows; the configuration
// list strictly sorted by key; the node, light and RSI images decodable
// within the segment, record by record as their writers wrote them, with no
// zero-filled record inside the count and nothing after the last one (node
// ids strictly ascending); every refresh time of a listed record no later
// than now plus a tolerance (a clock that stepped back).
//
// Ownership (see ListOwner.h): a list whose owner is gone (set up by an owner,
// nobody attached: an owner killed with SIGKILL) or that never had one
// (semaphore never set, e.g. the process list a program attaches when it
// loads the shared library with no owner running) is not healthy even when
// its content is: its verdict is NO_OWNER unless the content is damaged too.
//
// Nothing is printed: the caller formats the results.

struct ListCheckOptions {
    double lockWaitSeconds = 3.0;   // how long to retry the lock before reporting it held
    double futureTolerance = 2.0;   // seconds a refresh time may lie ahead of now
};

struct ListCheckResult {
    enum Verdict {
        ABSENT,      // no segment under the key: nothing to check
        CONSISTENT,  // present, owned and no problem found
        DAMAGED,     // present with at least one problem (see problems)
        NO_OWNER,    // present, no owner keeps it (see ownership), no other problem
    };

    std::string name;       // the tool's name of the list ("config", "map", ...)
    std::string manager;    // the managing class
    int key = 0;
    bool present = false;   // a segment exists under the key
    long sizeFound = 0;     // the segment's size in bytes, when present
    int sizeExpected = 0;   // the list's layout size

    bool semPresent = false;      // a semaphore set exists under the key
    int semValue = -1;            // its value when read (1 free, 0 held); -1 when absent
    bool semInitialised = false;  // an owner set it up (a set made by a non-owner never was)
    bool locked = false;          // the copy was taken under the lock
    int holderPid = 0;            // when the lock was not had: last process to operate on it
    bool holderAlive = false;     // whether that process still exists

    // Who keeps the list: OWNED, OWNER_GONE, NEVER_INITIALISED, NO_SEMAPHORE,
    // or NO_SEGMENT when absent. A present list not OWNED has this as its first problem.
    ListOwnerProbe::Ownership ownership = ListOwnerProbe::NO_SEGMENT;
    long attached = 0;            // processes attached to the segment before the check attached
    int creatorPid = 0;           // the process that created the segment
    bool creatorAlive = false;    // whether it still exists

    // The figures the check read, in order, e.g. {"count", 3}, {"capacity", 128}.
    std::vector<std::pair<std::string, long long>> figures;
    // What is wrong, in short English; empty when consistent.
    std::vector<std::string> problems;
    Verdict verdict = ABSENT;
};

// The lists the check knows, by the tool's names, in segment-map order.
const std::vector<std::string>& checkedListNames();
// The default key of a list the check knows, or 0 for an unknown name.
int checkedListDefaultKey(const std::string& name);

// Checks the list called `name` under `key` (0: its default key; the message
// ring, its totals and the target lists take keys from their callers).
// An unknown name gives a DAMAGED result saying so.
ListCheckResult checkList(const std::string& name, int key = 0,
                          const ListCheckOptions& options = ListCheckOptions());
// Checks each list of `names` under its default key; all known lists when
// `names` is empty.
std::vector<ListCheckResult> checkLists(const std::vector<std::string>& names = {},
                                        const ListCheckOptions& options = ListCheckOptions());

// "absent", "consistent", "damaged" or "no owner".
const char* verdictName(ListCheckResult::Verdict verdict);
// The process exit code for a set of results: 0 when none is damaged or
// without an owner, 1 otherwise.
int checkExitCode(const std::vector<ListCheckResult>& results);

// A set of results counted by verdict.
struct ListCheckCounts {
    int consistent = 0;
    int damaged = 0;
    int noOwner = 0;
    int absent = 0;
};
ListCheckCounts countVerdicts(const std::vector<ListCheckResult>& results);

#endif
