// v2xshm show procs | feed NAME [TAG] | log listen: the process list with
// its watchdog ages, feeding by hand, and a log collector for a bench unit.
#include "Commands.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "ShmJson.h"
#include "shm/DevProcListMng.h"
#include "shm/TimeTool.h"
#include "shm/WriteLog.h"

namespace {

constexpr double DEFAULT_STALE_S = 90.0;  // three missed feeds
constexpr int FEED_PERIOD_S = 30;         // as the library's feeding thread

std::string textOf(const char* field)
{
    return fieldText(field, ProcInfo::TEXT_LEN);
}

// "2024-05-01 12:00:00.123" in local time.
std::string clockText(double t)
{
    time_t whole = (time_t)t;
    struct tm parts;
    localtime_r(&whole, &parts);
    char buf[40];
    size_t n = strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &parts);
    snprintf(buf + n, sizeof buf - n, ".%03d", (int)((t - (double)whole) * 1000.0) % 1000);
    return buf;
}

volatile sig_atomic_t stopRequested = 0;

void onStop(int)
{
    stopRequested = 1;
}

// SIGINT and SIGTERM set stopRequested and interrupt a blocking wait.
void catchStopSignals()
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = onStop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;  // no restart: poll and sleep return at once
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

int showProcs(double staleS, bool json)
{
    const ListInfo& list = *findList("procs");
    if (!requireOwner(list)) {
        return EXIT_FAILURE_CODE;
    }
    DevProcListMng mng(false);
    guardLockWait(list.name);
    int rc = mng.update();
    releaseLockGuard();
    if (rc != 1) {
        return failure("could not read the process list");
    }
    double now = TimeTool::getPreciseTimeNow();
    if (json) {
        printJson(ProcListView{mng.procs, now, staleS});
        return EXIT_OK;
    }
    if (mng.procs.empty()) {
        std::cout << "no process has fed" << std::endl;
        return EXIT_OK;
    }
    printf("%-16s %-16s %-23s %10s  %s\n", "name", "tag", "last feed", "age (s)", "state");
    for (const auto& entry : mng.procs) {
        const ProcInfo& p = entry.second;
        double fed = p.latestRefreshTime;
        printf("%-16s %-16s %-23s %10.1f  %s\n", textOf(p.procName).c_str(), textOf(p.procTag).c_str(),
               clockText(fed).c_str(), now - fed, p.isPreciseOverTime(staleS) ? "stale" : "alive");
    }
    fflush(stdout);
    return EXIT_OK;
}

}  // namespace

int cmdShowProcs(double staleS, bool json)
{
    // The front's range check lets NaN through: no comparison with it fails.
    if (!(staleS >= 0.0 && staleS <= 1e9)) {
        return usageError("--stale wants 0 to 1e9 seconds; usage: v2xshm show procs [--stale SECONDS]");
    }
    return showProcs(staleS, json);
}

int cmdFeed(const std::string& name, const std::string& tag)
{
    if (name.empty() || name.size() >= (size_t)ProcInfo::TEXT_LEN || tag.size() >= (size_t)ProcInfo::TEXT_LEN) {
        return usageError("NAME (not empty) and TAG take at most 15 characters each");
    }
    const ListInfo& list = *findList("procs");
    if (!requireOwner(list)) {
        return EXIT_FAILURE_CODE;
    }
    ProcFeedBlock block;
    memset(&block, 0, sizeof block);
    memcpy(block.procName, name.data(), name.size());
    memcpy(block.procTag, tag.data(), tag.size());

    catchStopSignals();
    DevProcListMng mng(false);
    // Unlike the library's thread, the first feed comes at once, so that the
    // entry shows up while one watches.
    while (!stopRequested) {
        guardLockWait(list.name);
        int rc = mng.operateSHMNotSafe(DevProcListMng::refreshProcInList, &block);
        releaseLockGuard();
        if (rc < 0) {
            return failure("feeding failed");
        }
        std::cout << "fed " << name << " at " << clockText(TimeTool::getPreciseTimeNow()) << std::endl;
        for (int s = 0; s < FEED_PERIOD_S && !stopRequested; ++s) {
            sleep(1);
        }
    }
    std::cout << "stopped feeding " << name << std::endl;
    return EXIT_OK;
}

int cmdLog(long port, long count, bool json)
{
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in local;
    memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    local.sin_port = htons((unsigned short)port);
    if (sock < 0 || bind(sock, (const sockaddr*)&local, sizeof local) != 0) {
        return failure("cannot listen on UDP port " + std::to_string(port) + ": " + strerror(errno));
    }
    catchStopSignals();
    std::cout << "listening on UDP port " << port << std::endl;
    static char buf[65536];
    for (long received = 0; !stopRequested && (count == 0 || received < count);) {
        pollfd p = {sock, POLLIN, 0};
        if (poll(&p, 1, 1000) != 1) {
            continue;  // a signal, or a second of silence
        }
        sockaddr_in from;
        socklen_t fromLen = sizeof from;
        ssize_t n = recvfrom(sock, buf, sizeof buf, 0, (sockaddr*)&from, &fromLen);
        if (n < 0) {
            continue;
        }
        double now = TimeTool::getPreciseTimeNow();
        std::string text(buf, (size_t)n);
        if (json) {
            char addr[INET_ADDRSTRLEN] = "";
            inet_ntop(AF_INET, &from.sin_addr, addr, sizeof addr);
            printJson(LogDatagram{now, std::string(addr) + ":" + std::to_string(ntohs(from.sin_port)), text});
        } else {
            std::cout << clockText(now) << " " << text << std::endl;
        }
        ++received;
    }
    close(sock);
    return EXIT_OK;
}
