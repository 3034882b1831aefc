#include "comm/TCPClientComm.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <thread>

#include "support/Loopback.h"

namespace {

// A loopback server: listening, then the one accepted connection.
struct Server {
    explicit Server(int rcvBuf = 0) : listener(bindLoopback(SOCK_STREAM, 0))
    {
        if (rcvBuf > 0) {  // inherited by the accepted connection
            setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &rcvBuf, sizeof rcvBuf);
        }
        listen(listener, 1);
    }
    ~Server() { close(listener), close(conn); }
    bool accept() { return readableWithin(listener, 5000) && (conn = ::accept(listener, nullptr, nullptr)) >= 0; }
    int listener, conn = -1;
};

std::mutex dataMutex;
std::string dataSeen;

void* onData(char* data, int len)
{
    std::lock_guard<std::mutex> hold(dataMutex);
    dataSeen.append(data, (size_t)len);
    return nullptr;
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

    // A bad address or a refused connect leaves the socket open until closed.
    int refusing = bindLoopback(SOCK_STREAM, 0);  // bound, not listening
    EXPECT_EQ(client.initTcpClient("999.0.0.1", 80), -2);
    EXPECT_EQ(client.initTcpClient("127.0.0.1", localPort(refusing)), -3);
    EXPECT_GE(client.sock, 0);
    EXPECT_EQ(client.closeTcpClient(), 1);
    EXPECT_EQ(client.sock, -1);
    close(refusing);

    client.sock = 0;  // socket number 0 is never closed
    EXPECT_EQ(client.closeTcpClient(), 1);
    EXPECT_EQ(client.sock, 0);
    client.sock = -1;
}

TEST(TCPClientComm, GivesUpAtTheFifthSendThatFindsTheQueueGrown)
{
    Server server(2048);  // a small window, soon closed by a peer that does not read
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
    EXPECT_EQ(countBefore, 4);
    EXPECT_EQ(client.queueGrowCount, 5);
    EXPECT_EQ(client.sock, -1);
}

TEST(TCPClientComm, ReceivesIntoTheCallbackProbesWhenIdleAndEndsWhenTheServerCloses)
{
    Server server;
    TCPClientComm client;
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
    {
        std::lock_guard<std::mutex> hold(dataMutex);
        EXPECT_EQ(dataSeen, "abc");
    }

    close(server.conn);
    server.conn = -1;
    for (int i = 0; i < 500 && result == 0; ++i) {
        usleep(10000);
    }
    EXPECT_EQ(result, -2);
    if (result == 0) {
        shutdown(client.sock, SHUT_RDWR);  // frees the thread so that the test ends
    }
    receiver.join();
    EXPECT_EQ(client.sock, -1);
}
