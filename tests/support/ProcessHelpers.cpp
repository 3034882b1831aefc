#include "support/ProcessHelpers.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

void sleepMs(int ms)
{
    struct timespec ts = {ms / 1000, (long)(ms % 1000) * 1000000L};
    nanosleep(&ts, nullptr);
}

int decode(int status)
{
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    if (WIFSIGNALED(status)) {
        return 128 + WTERMSIG(status);
    }
    return -1;
}

}  // namespace

pid_t forkChild(const std::function<int()>& fn)
{
    pid_t pid = fork();
    if (pid == 0) {
        int rc = 1;
        try {
            rc = fn();
        } catch (...) {
            rc = 99;
        }
        _exit(rc);
    }
    return pid;
}

int waitChild(pid_t pid, int timeoutMs)
{
    for (int waited = 0; waited <= timeoutMs; waited += 5) {
        int status = 0;
        pid_t r = waitpid(pid, &status, WNOHANG);
        if (r == pid) {
            return decode(status);
        }
        if (r < 0 && errno != EINTR) {
            return -1;
        }
        sleepMs(5);
    }
    kill(pid, SIGKILL);
    int status = 0;
    waitpid(pid, &status, 0);
    return -1;
}

bool stillRunningAfter(pid_t pid, int ms)
{
    sleepMs(ms);
    siginfo_t info = {};
    // WNOWAIT leaves a finished child to be reaped by waitChild.
    if (waitid(P_PID, (id_t)pid, &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
        return false;
    }
    return info.si_pid == 0;
}

Signal::Signal()
{
    if (pipe(fds) != 0) {
        fds[0] = fds[1] = -1;
    }
}

Signal::~Signal()
{
    close(fds[0]);
    close(fds[1]);
}

void Signal::post()
{
    char c = 1;
    ssize_t n = write(fds[1], &c, 1);
    (void)n;
}

bool Signal::wait(int timeoutMs)
{
    struct pollfd p = {fds[0], POLLIN, 0};
    if (poll(&p, 1, timeoutMs) != 1) {
        return false;
    }
    char c;
    return read(fds[0], &c, 1) == 1;
}
