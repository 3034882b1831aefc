#include "comm/TCPClientComm.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "support/Loopback.h"

namespace {

// A loopback server: listening, then the one accepted connection.
struct Server {
    Server() : listener(bindLoopback(SOCK_STREAM, 0))
    {
        int rcvBuf = 2048;  // a small window, inherited by the accepted connection
        setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &rcvBuf, sizeof rcvBuf);
        listen(listener, 1);
    }
    ~Server() { close(listener), close(conn); }
    bool accept() { return readableWithin(listener, 5000) && (conn = ::accept(listener, nullptr, nullptr)) >= 0; }
    int listener, conn = -1;
};

char dataSeen[16];
std::atomic<int> dataLength(0);  // published after the bytes

void* onData(char* data, int len)
{
    int at = dataLength, n = std::min(len, 16 - at);
    memcpy(dataSeen + at, data, (size_t)n);
    dataLength = at + n;
    return nullptr;
}

}  // namespace

TEST(TCPClientComm, GivesUpAtTheFifthSendThatFindsTheQueueGrown)
{
    Server server;  // its small window is soon closed by a peer that does not read
    TCPClientComm client;
    ASSERT_EQ(client.initTcpClient("127.0.0.1", localPort(server.listener)), 1);
    ASSERT_TRUE(server.accept());
    char chunk[1000] = "hello";
    std::string got;
    EXPECT_EQ(client.tcpSend(chunk, 5), 5);
    EXPECT_TRUE(readChunk(server.conn, &got) && got == "hello");

    int sndBuf = 256 * 1024;  // room for all the loop sends, so that none blocks
    setsockopt(client.sock, SOL_SOCKET, SO_SNDBUF, &sndBuf, sizeof sndBuf);
    int rc = 0, sends = 0, countBefore = -1;
    while (sends++ < 150 && rc >= 0) {
        countBefore = client.queueGrowCount;
        rc = client.tcpSend(chunk, sizeof chunk);
    }
    EXPECT_EQ(rc, -2) << "after " << sends << " sends";
    EXPECT_EQ(countBefore, 4) << "the fifth grown queue ends it";
    EXPECT_EQ(client.sock, -1);
}

TEST(TCPClientComm, ReceivesIntoTheCallbackProbesWhenIdleAndEndsWhenTheServerCloses)
{
    Server server;
    TCPClientComm client;
    EXPECT_EQ(client.tcpSend((char*)"x", 1) + client.tcpRecv(onData), -2) << "no connection";
    // A bad address or a refused connect leaves the socket open until closed.
    int refusing = bindLoopback(SOCK_STREAM, 0);  // bound, not listening
    EXPECT_EQ(client.initTcpClient("999.0.0.1", 80), -2);
    EXPECT_EQ(client.initTcpClient("127.0.0.1", localPort(refusing)), -3);
    EXPECT_GE(client.sock, 0);
    EXPECT_EQ(client.closeTcpClient(), 1);
    EXPECT_EQ(client.sock, -1);
    close(refusing);
    ASSERT_EQ(client.initTcpClient("127.0.0.1", localPort(server.listener)), 1);
    ASSERT_TRUE(server.accept());
    std::atomic<int> result(0);
    std::thread receiver([&] { result = client.tcpRecv(onData); });

    ASSERT_EQ(send(server.conn, "abc", 3, 0), 3);
    auto sent = std::chrono::steady_clock::now();
    // A silent server gets one probe byte after the 2 s receive time-out.
    std::string probe;
    EXPECT_TRUE(readChunk(server.conn, &probe, 6000) && probe.size() == 1u);
    double idle = std::chrono::duration<double>(std::chrono::steady_clock::now() - sent).count();
    EXPECT_TRUE(idle > 1.8 && idle < 4.5) << idle;
    EXPECT_EQ(result, 0);
    EXPECT_EQ(std::string(dataSeen, dataLength), "abc");

    shutdown(server.conn, SHUT_RDWR);
    for (int i = 0; i < 500 && result == 0; ++i) {
        usleep(10000);
    }
    EXPECT_EQ(result, -2);
    shutdown(result == 0 ? client.sock : -1, SHUT_RDWR);  // frees a stuck thread so that the test ends
    receiver.join();
    EXPECT_EQ(client.sock, -1);
}
