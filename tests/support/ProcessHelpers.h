#ifndef V2XSHM_TESTS_SUPPORT_PROCESSHELPERS_H
#define V2XSHM_TESTS_SUPPORT_PROCESSHELPERS_H

#include <functional>
#include <sys/types.h>

// Real processes for behaviour between processes: a forked child acts as the
// other process (a non-owner, a writer, a lock holder to be killed).

// Forks a child that runs fn and exits with its result (0-255); the child
// never returns into the test framework.
pid_t forkChild(const std::function<int()>& fn);

// Waits up to timeoutMs for pid. Returns its exit code, 128 + signal when it
// was killed, or -1 when it was still running (it is then killed and reaped).
int waitChild(pid_t pid, int timeoutMs = 20000);

// True when pid is still running after ms milliseconds (it is not reaped).
bool stillRunningAfter(pid_t pid, int ms);

// A pipe for a child to tell its parent that it reached a point.
class Signal {
public:
    Signal();
    ~Signal();
    void post();                    // from either process
    bool wait(int timeoutMs = 20000);  // true when posted in time
private:
    int fds[2];
};

#endif
