#include "comm/UDPCommTool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "shm/ThreadTool.h"

namespace {

using Clock = std::chrono::steady_clock;

// A thread body's callbacks end it with pthread_exit once the test has seen
// enough (the loops themselves never end), and count it in `ended`.
std::atomic<int> ended, calls, pings;
std::string seen[3];  // receive: "length first-byte zeros-after"

int onRecv(char* data, sockaddr_in*, int len)
{
    if (len == 4 && memcmp(data, "ping", 4) == 0) {
        return ++pings;  // the test's "are you listening" datagrams
    }
    bool zeros = std::all_of(data + len, data + UDPCommTool::BUFFER_SIZE, [](char c) { return c == 0; });
    seen[calls] = std::to_string(len) + " " + data[0] + (zeros ? " zeros" : "");
    if (++calls == 3) {
        ++ended;
        pthread_exit(nullptr);
    }
    return 0;
}

// The sending thread bodies run side by side, each with its own callbacks
// (Slot) so that a loaded machine delays them alike; each ends itself after
// `cycles` sends.
constexpr int CYCLES = 200;
Clock::time_point builds[3][CYCLES + 1];

template <int Slot>
int onBuild(char* buf, int start, int capacity)
{
    static int n = 0;
    if (n > CYCLES) {
        ++ended;
        pthread_exit(nullptr);
    }
    builds[Slot][n++] = Clock::now();
    return start == 0 && capacity == UDPCommTool::BUFFER_SIZE ? (buf[0] = 'x', 1) : -1;
}

int onSend(char*, int) { return 0; }

bool waitEnded(int threads)
{
    for (int waited = 0; ended < threads && waited < 60000; waited += 5) {
        usleep(5000);
    }
    return ended == threads;
}

// The sleeps between builds of one sender (µs), sorted.
std::vector<double> sleepsOf(int slot)
{
    std::vector<double> s;
    for (int i = 1; i <= CYCLES; ++i) {
        s.push_back(std::chrono::duration<double, std::micro>(builds[slot][i] - builds[slot][i - 1]).count());
    }
    std::sort(s.begin(), s.end());
    return s;
}

}  // namespace

TEST(UDPCommTool, SendsAndListensOnLoopback)
{
    std::string ping = "ping", big(10001, 'y'), exact(10000, 'x'), small = "abc";
    int own = socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(UDPCommTool::UDPSend(own, "999.0.0.1", 11102, &ping[0], 4), -1);
    EXPECT_EQ(UDPCommTool::UDPSend("127.0.0.1", 11102, &ping[0], 4), 4);  // nobody listens yet: still sent

    // The listening thread cuts at its 10,000-byte buffer and zeroes the rest.
    UDPListenParam param = {11102, onRecv};
    ASSERT_EQ(ThreadTool::createNewThread(UDPCommTool::thr_Litsen2Port, &param), 1);
    for (int i = 0; i < 250 && pings == 0; ++i, usleep(20000)) {  // until the thread listens
        UDPCommTool::UDPSend(own, "127.0.0.1", 11102, &ping[0], 4);
    }
    for (std::string* d : {&exact, &big, &small}) {
        UDPCommTool::UDPSend(own, "127.0.0.1", 11102, &(*d)[0], (int)d->size());
    }
    ASSERT_TRUE(waitEnded(1));
    EXPECT_EQ(seen[0] + "|" + seen[1] + "|" + seen[2], "10000 x zeros|10000 y zeros|3 a zeros");

    // That thread left its socket bound: a second listener cannot bind.
    EXPECT_EQ(UDPCommTool::thr_Litsen2Port(&param), nullptr);
    close(own);
}

TEST(UDPCommTool, PeriodicSleepsSpreadOverThePeriodAboveTheFloor)
{
    // period, offset, draw, sleep
    int cases[][4] = {{10000, 5000, 0, 5000}, {10000, 5000, 100, 15000}, {10000, 3, 90, 10002},
                      {6000, 6000, 25, 5000}, {4999, 0, 50, 5000}, {-100, 0, 50, 5000}};
    for (auto& c : cases) {
        EXPECT_EQ(UDPCommTool::randomPeriodUs(c[0], c[1], c[2] / 100.0), c[3]) << c[0] << " " << c[2];
    }

    // A jittered sender, a plain one of the same period and one below the
    // floor, at once. A sleep can only overrun, so minima are compared with
    // the floor and the rest with the plain sender's sleeps, never with
    // absolute bounds.
    UDPRandomPeriodParam jittered = {10000, 5000, onBuild<0>, onSend};
    UDPPeriodParam plain = {10000, onBuild<1>, onSend}, belowFloor = {0, onBuild<2>, onSend};
    ended = 0;
    ASSERT_EQ(ThreadTool::createNewThread(UDPCommTool::thr_PeriodSendWithRandomTimeOffset, &jittered), 1);
    ASSERT_EQ(ThreadTool::createNewThread(UDPCommTool::thr_PeriodSend, &plain), 1);
    ASSERT_EQ(ThreadTool::createNewThread(UDPCommTool::thr_PeriodSend, &belowFloor), 1);
    ASSERT_TRUE(waitEnded(3));
    std::vector<double> j = sleepsOf(0), p = sleepsOf(1), f = sleepsOf(2);
    auto at = [](const std::vector<double>& s, double q) { return s[(size_t)(q * (s.size() - 1))]; };
    double plainMedian = at(p, 0.5);
    EXPECT_GE(std::min(j.front(), f.front()), 5000.0);
    EXPECT_LT(j.front(), plainMedian - 2500.0);  // the jitter shortens some sleeps ...
    EXPECT_GT(at(j, 0.9), plainMedian + 2500.0);  // ... and lengthens others
    EXPECT_LT(at(f, 0.5), plainMedian - 2500.0);  // the floor, not the period
}
