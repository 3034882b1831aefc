#include "comm/UDPCommTool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <numeric>
#include <pthread.h>
#include <string>
#include <vector>

#include "shm/ThreadTool.h"
#include "support/Loopback.h"

namespace {

using Clock = std::chrono::steady_clock;

// True once flag is set, waiting at most timeoutMs.
bool waitFor(const std::atomic<bool>& flag, int timeoutMs)
{
    for (int waited = 0; !flag && waited < timeoutMs; waited += 5) {
        usleep(5000);
    }
    return flag;
}

// ---- receiving ----
struct Received {
    int len;
    std::string head;
    bool zerosAfter;  // the rest of the 10,000-byte buffer is zero
};
std::mutex receivedMutex;
std::vector<Received> received;
std::atomic<int> pings;
std::atomic<bool> receiverDone;

int onRecv(char* data, sockaddr_in* from, int len)
{
    if (len == 4 && memcmp(data, "ping", 4) == 0) {
        pings++;
        return 0;
    }
    bool zeros = std::all_of(data + len, data + UDPCommTool::BUFFER_SIZE, [](char c) { return c == 0; });
    bool fromLoopback = ntohl(from->sin_addr.s_addr) == INADDR_LOOPBACK;
    std::lock_guard<std::mutex> hold(receivedMutex);
    received.push_back({len, std::string(data, std::min(len, 3)) + (fromLoopback ? "" : "?"), zeros});
    if (received.size() == 3) {
        receiverDone = true;
        pthread_exit(nullptr);  // the loop itself never ends
    }
    return 0;
}

// ---- periodic sending ----
constexpr int MAX_CYCLES = 400;
Clock::time_point builds[MAX_CYCLES + 1];
std::atomic<int> cycles, wantedCycles;
std::atomic<bool> senderDone;

int onBuild(char* buf, int start, int capacity)
{
    builds[cycles] = Clock::now();
    buf[start] = 'x';
    return capacity == UDPCommTool::BUFFER_SIZE ? 1 : -1;
}

int onSend(char*, int len)
{
    if (len != 1 || ++cycles > wantedCycles) {
        senderDone = true;
        pthread_exit(nullptr);
    }
    return 0;
}

// Runs a sending thread body for n cycles; the sleeps between builds in µs.
std::vector<double> measureSleeps(void* (*body)(void*), void* param, int n)
{
    cycles = 0;
    wantedCycles = n;
    senderDone = false;
    EXPECT_EQ(ThreadTool::createNewThread(body, param), 1);
    EXPECT_TRUE(waitFor(senderDone, 60000));
    std::vector<double> sleeps;
    for (int i = 1; i <= n && i < cycles; ++i) {
        sleeps.push_back(std::chrono::duration<double, std::micro>(builds[i] - builds[i - 1]).count());
    }
    EXPECT_EQ((int)sleeps.size(), n);
    return sleeps;
}

double mean(const std::vector<double>& v)
{
    return v.empty() ? 0.0 : std::accumulate(v.begin(), v.end(), 0.0) / v.size();
}

}  // namespace

TEST(UDPCommTool, SendFormsDeliverToLoopback)
{
    int collector = bindLoopback(SOCK_DGRAM, 0);
    ASSERT_GE(collector, 0);
    unsigned short port = localPort(collector);
    int own = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to;
    memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    char text[] = "datagram";
    EXPECT_EQ(UDPCommTool::UDPSend(&to, text, 1), 1);
    EXPECT_EQ(UDPCommTool::UDPSend("127.0.0.1", port, text, 2), 2);
    EXPECT_EQ(UDPCommTool::UDPSend(own, &to, text, 3), 3);
    EXPECT_EQ(UDPCommTool::UDPSend(own, "127.0.0.1", port, text, 4), 4);
    for (std::string expected : {"d", "da", "dat", "data"}) {
        std::string got;
        EXPECT_TRUE(recvDatagram(collector, &got));
        EXPECT_EQ(got, expected);
    }
    close(collector);  // nobody listens now: still sent
    EXPECT_EQ(UDPCommTool::UDPSend("127.0.0.1", port, text, 8), 8);
    EXPECT_EQ(UDPCommTool::UDPSend("999.0.0.1", port, text, 8), -1);
    EXPECT_EQ(UDPCommTool::UDPSend(own, "not an address", port, text, 8), -1);
    close(own);
}

TEST(UDPCommTool, ListenThreadCutsAtItsBufferAndZeroesTheRest)
{
    constexpr unsigned short PORT = 11102;
    UDPListenParam param;
    param.port = PORT;
    param.onRecv = onRecv;
    ASSERT_EQ(ThreadTool::createNewThread(UDPCommTool::thr_Litsen2Port, &param), 1);
    char ping[] = "ping";
    for (int i = 0; i < 250 && pings == 0; ++i) {
        UDPCommTool::UDPSend("127.0.0.1", PORT, ping, 4);  // until the thread listens
        usleep(20000);
    }
    ASSERT_GT(pings, 0);
    std::vector<char> big(10001, 'y');
    big[9999] = 'z';
    std::string x(10000, 'x');
    char abc[] = "abc";
    UDPCommTool::UDPSend("127.0.0.1", PORT, &x[0], 10000);
    UDPCommTool::UDPSend("127.0.0.1", PORT, big.data(), 10001);
    UDPCommTool::UDPSend("127.0.0.1", PORT, abc, 3);
    ASSERT_TRUE(waitFor(receiverDone, 10000));
    std::lock_guard<std::mutex> hold(receivedMutex);
    ASSERT_EQ(received.size(), 3u);
    EXPECT_EQ(received[0].len, 10000);
    EXPECT_EQ(received[1].len, 10000);
    EXPECT_EQ(received[2].len, 3);
    EXPECT_EQ(received[2].head, "abc");
    EXPECT_TRUE(received[2].zerosAfter);

    // The ended thread left its socket bound: a second listener cannot bind.
    testing::internal::CaptureStdout();
    EXPECT_EQ(UDPCommTool::thr_Litsen2Port(&param), nullptr);
    UDPRecvParam bad = {-1, onRecv};
    EXPECT_EQ(UDPCommTool::thr_RecvFromSocket(&bad), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Bind error.\nrecvfrom socket error\n");
}

TEST(UDPCommTool, JitteredSleepsSpreadOverThePeriodAboveTheFloor)
{
    struct {
        int period, offset;
        double r;
        int expected;
    } cases[] = {
        {10000, 5000, 0.0, 5000}, {10000, 5000, 1.0, 15000}, {10000, 5000, 0.5, 10000},
        {10000, 3, 0.9, 10002},  // 10002.4 truncated
        {6000, 6000, 0.25, 5000}, {0, 0, 0.5, 5000}, {4999, 0, 0.5, 5000}, {-100, 0, 0.5, 5000},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UDPCommTool::randomPeriodUs(c.period, c.offset, c.r), c.expected) << c.period << " " << c.r;
    }

    // A real thread over a few hundred cycles.
    UDPRandomPeriodParam param = {10000, 5000, onBuild, onSend};
    std::vector<double> sleeps = measureSleeps(UDPCommTool::thr_PeriodSendWithRandomTimeOffset, &param, 300);
    ASSERT_FALSE(sleeps.empty());
    double lo = *std::min_element(sleeps.begin(), sleeps.end());
    double hi = *std::max_element(sleeps.begin(), sleeps.end());
    printf("jittered sleeps over %zu cycles: min %.0f us, mean %.0f us, max %.0f us\n", sleeps.size(), lo,
           mean(sleeps), hi);
    EXPECT_GE(lo, 5000.0);
    EXPECT_LT(lo, 6500.0);
    EXPECT_GT(hi, 13500.0);
    EXPECT_NEAR(mean(sleeps), 10000.0, 1200.0);
}

TEST(UDPCommTool, PeriodsBelowTheFloorSleepTheFloor)
{
    for (int period : {0, 4999}) {
        UDPPeriodParam param = {period, onBuild, onSend};
        std::vector<double> sleeps = measureSleeps(UDPCommTool::thr_PeriodSend, &param, 40);
        ASSERT_FALSE(sleeps.empty());
        EXPECT_GE(*std::min_element(sleeps.begin(), sleeps.end()), 5000.0) << period;
        EXPECT_LT(mean(sleeps), 7000.0) << period;
    }
    // Offsets beyond the period: about 40 % of the draws fall to the floor.
    UDPRandomPeriodParam param = {6000, 6000, onBuild, onSend};
    std::vector<double> sleeps = measureSleeps(UDPCommTool::thr_PeriodSendWithRandomTimeOffset, &param, 100);
    ASSERT_FALSE(sleeps.empty());
    EXPECT_GE(*std::min_element(sleeps.begin(), sleeps.end()), 5000.0);
    long nearFloor = std::count_if(sleeps.begin(), sleeps.end(), [](double s) { return s < 5800.0; });
    EXPECT_GT(nearFloor, 15);
}
