#include "comm/TCPClientComm.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr unsigned SEND_PAUSE_US = 1000;

}  // namespace

TCPClientComm::TCPClientComm() : sock(-1), lastQueued(0), queueGrowCount(0)
{
    memset(&serverAddr, 0, sizeof serverAddr);
}

TCPClientComm::~TCPClientComm()
{
    closeTcpClient();
}

int TCPClientComm::initTcpClient(const char* ip, unsigned short port)
{
    closeTcpClient();
    sock = socket(AF_INET, SOCK_STREAM, 0);
    if (sock < 0) {
        printf("create socket error...\n)");
        fflush(stdout);
        return -1;
    }
    memset(&serverAddr, 0, sizeof serverAddr);
    serverAddr.sin_family = AF_INET;
    serverAddr.sin_port = htons(port);
    if (ip == nullptr || inet_pton(AF_INET, ip, &serverAddr.sin_addr) != 1) {
        printf("IP address error ...");
        fflush(stdout);
        return -2;
    }
    if (connect(sock, (const sockaddr*)&serverAddr, sizeof serverAddr) < 0) {
        int err = errno;
        printf("TCP connect error: %s(errno: %d)\n", strerror(err), err);
        fflush(stdout);
        return -3;
    }
    timeval timeout;
    timeout.tv_sec = RECV_TIMEOUT_S;
    timeout.tv_usec = 0;
    setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    lastQueued = 0;
    queueGrowCount = 0;
    std::cout << "TCP Connect successfully..." << std::endl;
    return 1;
}

int TCPClientComm::tcpSend(char* buf, int len)
{
    if (sock < 0) {
        std::cout << "Invalid TCP Socket..." << std::endl;
        return -1;
    }
    try {
        int queued = 0;
        ioctl(sock, TIOCOUTQ, &queued);
        if (lastQueued >= queued) {
            queueGrowCount = 0;
        } else {
            queueGrowCount = queueGrowCount + 1;
        }
        lastQueued = queued;

        int sent = (int)send(sock, buf, len, MSG_NOSIGNAL);
        // errno is read after a successful send too: a stale EPIPE ends the
        // connection as well.
        if (sent > 0 && errno != EPIPE && queueGrowCount < STUCK_SEND_COUNT) {
            usleep(SEND_PAUSE_US);
            return sent;
        }
        std::cout << "send message error. Close TCP..." << std::endl;
        closeTcpClient();
        return -2;
    } catch (const std::exception& e) {
        std::cout << "Catch exception in TCP send. Close TCP..." << e.what() << std::endl;
        closeTcpClient();
        return -3;
    }
}

int TCPClientComm::tcpRecv(void* (*onData)(char* data, int len))
{
    if (sock < 0) {
        std::cout << "Invalid TCP Socket..." << std::endl;
        return -1;
    }
    char buf[RECV_BUFFER_SIZE];
    try {
        for (;;) {
            memset(buf, 0, sizeof buf);
            int n = (int)recv(sock, buf, sizeof buf, 0);
            if (n > 0) {
                if (onData != nullptr) {
                    onData(buf, n);
                }
                std::cout << "recv TCP" << " length=" << n << std::endl;
                continue;
            }
            // Nothing for 2 s, an error, or the peer closed: a probe byte
            // tells a live connection from a dead one.
            char probe = 0;
            if (tcpSend(&probe, 1) != 1) {
                return -2;
            }
        }
    } catch (const std::exception&) {
        closeTcpClient();
        return -3;
    }
}

int TCPClientComm::closeTcpClient()
{
    if (sock < 1) {
        return 1;
    }
    try {
        close(sock);
        sock = -1;
        std::cout << "TCP shut..." << std::endl;
    } catch (const std::exception&) {
        std::cout << "Close tcp socket exception..." << std::endl;
    }
    return 1;
}
