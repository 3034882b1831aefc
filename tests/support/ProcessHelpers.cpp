#include "support/ProcessHelpers.h"

#include <csignal>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

pid_t forkChild(const std::function<int()>& fn)
{
    pid_t pid = fork();
    if (pid == 0) {
        int rc = 99;  // what a throw gives
        try {
            rc = fn();
        } catch (...) {
        }
        _exit(rc);
    }
    return pid;
}

int waitChild(pid_t pid, int timeoutMs)
{
    int status = 0;
    for (int waited = 0; waited <= timeoutMs; waited += 5, usleep(5000)) {
        pid_t r = waitpid(pid, &status, WNOHANG);
        if (r != 0) {
            return r != pid ? -1 : WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
    }
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    return -1;
}

bool stillRunningAfter(pid_t pid, int ms)
{
    usleep(ms * 1000);
    siginfo_t info = {};
    // WNOWAIT leaves a finished child to be reaped by waitChild.
    return waitid(P_PID, (id_t)pid, &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
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
    ssize_t n = write(fds[1], "", 1);
    (void)n;
}

bool Signal::wait(int timeoutMs)
{
    struct pollfd p = {fds[0], POLLIN, 0};
    char c;
    return poll(&p, 1, timeoutMs) == 1 && read(fds[0], &c, 1) == 1;
}
