#include "comm/UDPCommTool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <numeric>
#include <pthread.h>
#include <string>
#include <vector>

#include "shm/ThreadTool.h"
#include "support/Loopback.h"

namespace {

using Clock = std::chrono::steady_clock;

// A thread body's callbacks end it with pthread_exit once the test has seen
// enough (the loops themselves never end); `done` tells the test.
std::atomic<bool> done;
std::atomic<int> calls, wanted, pings;
std::string seen[3];  // receive: "length first-byte zeros-after"
Clock::time_point builds[401];

bool waitDone(int timeoutMs)
{
    for (int waited = 0; !done && waited < timeoutMs; waited += 5) {
        usleep(5000);
    }
    return done;
}

int onRecv(char* data, sockaddr_in*, int len)
{
    if (len == 4 && memcmp(data, "ping", 4) == 0) {
        return ++pings;  // the test's "are you listening" datagrams
    }
    bool zeros = std::all_of(data + len, data + UDPCommTool::BUFFER_SIZE, [](char c) { return c == 0; });
    seen[calls] = std::to_string(len) + " " + data[0] + (zeros ? " zeros" : "");
    if (++calls == 3) {
        done = true;
        pthread_exit(nullptr);
    }
    return 0;
}

int onBuild(char* buf, int start, int capacity)
{
    builds[calls] = Clock::now();
    return start == 0 && capacity == UDPCommTool::BUFFER_SIZE ? (buf[0] = 'x', 1) : -1;
}

int onSend(char*, int len)
{
    if (len != 1 || ++calls > wanted) {
        done = true;
        pthread_exit(nullptr);
    }
    return 0;
}

// Runs a sending thread body for n cycles; returns the sleeps between builds (µs).
std::vector<double> measureSleeps(void* (*body)(void*), void* param, int n)
{
    calls = 0, wanted = n, done = false;
    EXPECT_EQ(ThreadTool::createNewThread(body, param), 1);
    EXPECT_TRUE(waitDone(60000));
    std::vector<double> sleeps;
    for (int i = 1; i <= n && done; ++i) {
        sleeps.push_back(std::chrono::duration<double, std::micro>(builds[i] - builds[i - 1]).count());
    }
    return sleeps;
}

}  // namespace

TEST(UDPCommTool, SendsAndListensOnLoopback)
{
    int collector = bindLoopback(SOCK_DGRAM, 0);
    unsigned short port = localPort(collector);
    int own = socket(AF_INET, SOCK_DGRAM, 0);
    char text[] = "data";
    EXPECT_EQ(UDPCommTool::UDPSend("127.0.0.1", port, text, 2), 2);
    EXPECT_EQ(UDPCommTool::UDPSend(own, "127.0.0.1", port, text, 4), 4);
    EXPECT_EQ(UDPCommTool::UDPSend(own, "999.0.0.1", port, text, 4), -1);
    std::string got;
    EXPECT_TRUE(readChunk(collector, &got) && got == "da");
    EXPECT_TRUE(readChunk(collector, &got) && got == "data");
    close(collector);
    EXPECT_EQ(UDPCommTool::UDPSend("127.0.0.1", port, text, 4), 4);  // nobody listens: still sent

    // The listening thread cuts at its 10,000-byte buffer and zeroes the rest.
    UDPListenParam param = {11102, onRecv};
    calls = 0, done = false;
    ASSERT_EQ(ThreadTool::createNewThread(UDPCommTool::thr_Litsen2Port, &param), 1);
    std::string ping = "ping", big(10001, 'y'), exact(10000, 'x'), small = "abc";
    for (int i = 0; i < 250 && pings == 0; ++i, usleep(20000)) {  // until the thread listens
        UDPCommTool::UDPSend(own, "127.0.0.1", 11102, &ping[0], 4);
    }
    for (std::string* d : {&exact, &big, &small}) {
        UDPCommTool::UDPSend(own, "127.0.0.1", 11102, &(*d)[0], (int)d->size());
    }
    ASSERT_TRUE(waitDone(10000));
    EXPECT_EQ(seen[0] + "|" + seen[1] + "|" + seen[2], "10000 x zeros|10000 y zeros|3 a zeros");

    // That thread left its socket bound: a second listener cannot bind.
    testing::internal::CaptureStdout();
    EXPECT_EQ(UDPCommTool::thr_Litsen2Port(&param), nullptr);
    UDPRecvParam bad = {-1, onRecv};
    EXPECT_EQ(UDPCommTool::thr_RecvFromSocket(&bad), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Bind error.\nrecvfrom socket error\n");
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

    UDPRandomPeriodParam jittered = {10000, 5000, onBuild, onSend};
    std::vector<double> s = measureSleeps(UDPCommTool::thr_PeriodSendWithRandomTimeOffset, &jittered, 300);
    ASSERT_EQ(s.size(), 300u);
    double lo = *std::min_element(s.begin(), s.end()), hi = *std::max_element(s.begin(), s.end());
    double mean = std::accumulate(s.begin(), s.end(), 0.0) / s.size();
    printf("jittered sleeps, 300 cycles: min %.0f us, mean %.0f us, max %.0f us\n", lo, mean, hi);
    EXPECT_TRUE(lo >= 5000.0 && lo < 6500.0 && hi > 13500.0) << lo << " " << hi;
    EXPECT_NEAR(mean, 10000.0, 1500.0);

    UDPPeriodParam belowFloor = {0, onBuild, onSend};
    s = measureSleeps(UDPCommTool::thr_PeriodSend, &belowFloor, 40);
    ASSERT_EQ(s.size(), 40u);
    EXPECT_GE(*std::min_element(s.begin(), s.end()), 5000.0);
    EXPECT_LT(std::accumulate(s.begin(), s.end(), 0.0) / s.size(), 7000.0);
}
