#include "comm/TCPClientComm.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <thread>

#include "support/Loopback.h"

namespace {

using Clock = std::chrono::steady_clock;

// A loopback server the test drives by hand.
class Server {
public:
    explicit Server(int rcvBuf = 0) : listener(bindLoopback(SOCK_STREAM, 0))
    {
        if (rcvBuf > 0) {  // inherited by the accepted connection
            setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &rcvBuf, sizeof rcvBuf);
        }
        listen(listener, 1);
    }
    ~Server()
    {
        closeConn();
        close(listener);
    }
    unsigned short port() const { return localPort(listener); }
    bool accept()
    {
        if (!readableWithin(listener, 5000)) {
            return false;
        }
        conn = ::accept(listener, nullptr, nullptr);
        return conn >= 0;
    }
    // Up to n bytes that arrive within timeoutMs.
    std::string read(int n, int timeoutMs = 5000)
    {
        std::string got;
        while ((int)got.size() < n && readableWithin(conn, timeoutMs)) {
            char buf[256];
            ssize_t r = recv(conn, buf, std::min<int>(n - (int)got.size(), sizeof buf), 0);
            if (r <= 0) {
                break;
            }
            got.append(buf, (size_t)r);
        }
        return got;
    }
    void closeConn()
    {
        if (conn >= 0) {
            close(conn);
            conn = -1;
        }
    }
    int listener;
    int conn = -1;
};

std::mutex dataMutex;
std::string dataSeen;

void* onData(char* data, int len)
{
    std::lock_guard<std::mutex> hold(dataMutex);
    dataSeen.append(data, (size_t)len);
    return nullptr;
}

std::string seen()
{
    std::lock_guard<std::mutex> hold(dataMutex);
    return dataSeen;
}

}  // namespace

TEST(TCPClientComm, CodesWithoutAConnection)
{
    TCPClientComm client;
    char byte = 'x';
    testing::internal::CaptureStdout();
    EXPECT_EQ(client.tcpSend(&byte, 1), -1);
    EXPECT_EQ(client.tcpRecv(onData), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Invalid TCP Socket...\nInvalid TCP Socket...\n");

    // A bad address and a refused connection leave the socket open until the
    // next close.
    int reserved = bindLoopback(SOCK_STREAM, 0);  // bound, not listening: refuses
    struct {
        const char* ip;
        unsigned short port;
        int expected;
    } cases[] = {{"999.0.0.1", 80, -2}, {"127.0.0.1", localPort(reserved), -3}, {nullptr, 80, -2}};
    for (const auto& c : cases) {
        EXPECT_EQ(client.initTcpClient(c.ip, c.port), c.expected);
        EXPECT_GE(client.sock, 0);
    }
    EXPECT_EQ(client.closeTcpClient(), 1);
    EXPECT_EQ(client.sock, -1);
    close(reserved);

    // Socket number 0 is never closed.
    client.sock = 0;
    EXPECT_EQ(client.closeTcpClient(), 1);
    EXPECT_EQ(client.sock, 0);
    client.sock = -1;
}

TEST(TCPClientComm, GivesUpAtTheFifthSendThatFindsTheQueueGrown)
{
    Server server(2048);  // a small window, soon closed by a peer that does not read
    TCPClientComm client;
    ASSERT_EQ(client.initTcpClient("127.0.0.1", server.port()), 1);
    ASSERT_TRUE(server.accept());
    char hello[] = "hello";
    EXPECT_EQ(client.tcpSend(hello, 5), 5);
    EXPECT_EQ(server.read(5), "hello");

    // Room for everything the loop may send, so that no send blocks.
    int sndBuf = 256 * 1024;
    setsockopt(client.sock, SOL_SOCKET, SO_SNDBUF, &sndBuf, sizeof sndBuf);
    char chunk[1000];
    memset(chunk, 'c', sizeof chunk);
    int rc = 0, sends = 0, countBefore = -1;
    while (sends < 150) {
        countBefore = client.queueGrowCount;
        rc = client.tcpSend(chunk, sizeof chunk);
        ++sends;
        if (rc != (int)sizeof chunk) {
            break;
        }
    }
    EXPECT_EQ(rc, -2) << "after " << sends << " sends";
    EXPECT_EQ(countBefore, 4);
    EXPECT_EQ(client.queueGrowCount, 5);
    EXPECT_EQ(client.sock, -1);
    EXPECT_EQ(client.tcpSend(chunk, 1), -1);
}

TEST(TCPClientComm, ReceivesIntoTheCallbackProbesWhenIdleAndEndsWhenTheServerCloses)
{
    Server server;
    TCPClientComm client;
    ASSERT_EQ(client.initTcpClient("127.0.0.1", server.port()), 1);
    ASSERT_TRUE(server.accept());

    std::atomic<int> result(0);
    std::atomic<bool> ended(false);
    std::thread receiver([&] {
        result = client.tcpRecv(onData);
        ended = true;
    });

    ASSERT_EQ(send(server.conn, "abc", 3, 0), 3);
    auto sent = Clock::now();
    for (int i = 0; i < 500 && seen() != "abc"; ++i) {
        usleep(10000);
    }
    EXPECT_EQ(seen(), "abc");

    // A silent server gets one probe byte after the 2 s receive time-out.
    EXPECT_EQ(server.read(1, 6000).size(), 1u);
    double idle = std::chrono::duration<double>(Clock::now() - sent).count();
    EXPECT_GT(idle, 1.8);
    EXPECT_LT(idle, 4.5);
    EXPECT_FALSE(ended);

    server.closeConn();
    for (int i = 0; i < 500 && !ended; ++i) {
        usleep(10000);
    }
    EXPECT_TRUE(ended);
    if (!ended) {
        shutdown(client.sock, SHUT_RDWR);  // frees the thread so the test can end
    }
    receiver.join();
    EXPECT_EQ(result, -2);
    EXPECT_EQ(client.sock, -1);
}
