#include "comm/UDPCommTool.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "shm/RandomTool.h"

namespace {

// Fills `to` for a dotted IPv4 address; false when the text is not one.
bool makeAddress(const char* ip, unsigned short port, sockaddr_in* to)
{
    memset(to, 0, sizeof *to);
    to->sin_family = AF_INET;
    to->sin_port = htons(port);
    return ip != nullptr && inet_aton(ip, &to->sin_addr) != 0;
}

void printLine(const char* text)
{
    printf("%s\n", text);
    fflush(stdout);
}

// Receives into buf until a receive fails; returns then.
void receiveLoop(int sock, UDPRecvCallback onRecv, char* buf)
{
    for (;;) {
        memset(buf, 0, UDPCommTool::BUFFER_SIZE);
        sockaddr_in from;
        socklen_t fromLen = sizeof from;
        memset(&from, 0, sizeof from);
        int n = (int)recvfrom(sock, buf, UDPCommTool::BUFFER_SIZE, 0, (sockaddr*)&from, &fromLen);
        if (n < 0) {
            return;
        }
        if (onRecv != nullptr) {
            onRecv(buf, &from, n);
        }
    }
}

void sleepAtLeastFloor(int periodUs)
{
    usleep(periodUs < UDPCommTool::MIN_PERIOD_US ? UDPCommTool::MIN_PERIOD_US : periodUs);
}

}  // namespace

int UDPCommTool::UDPSend(sockaddr_in* to, char* buf, int len)
{
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0) {
        printLine("Creating local send socket failed.");
        return -1;
    }
    int n = UDPSend(sock, to, buf, len);
    close(sock);
    return n < 0 ? -1 : n;
}

int UDPCommTool::UDPSend(const char* ip, unsigned short port, char* buf, int len)
{
    sockaddr_in to;
    if (!makeAddress(ip, port, &to)) {
        return -1;
    }
    return UDPSend(&to, buf, len);
}

int UDPCommTool::UDPSend(int sock, sockaddr_in* to, char* buf, int len)
{
    if (to == nullptr || len < 0 || (buf == nullptr && len > 0)) {
        return -1;
    }
    return (int)sendto(sock, buf, len, 0, (const sockaddr*)to, 16);
}

int UDPCommTool::UDPSend(int sock, const char* ip, unsigned short port, char* buf, int len)
{
    sockaddr_in to;
    if (!makeAddress(ip, port, &to)) {
        return -1;
    }
    return UDPSend(sock, &to, buf, len);
}

void* UDPCommTool::thr_RecvFromSocket(void* param)
{
    UDPRecvParam rec = *(const UDPRecvParam*)param;
    char buf[BUFFER_SIZE];
    receiveLoop(rec.sock, rec.onRecv, buf);
    printLine("recvfrom socket error");
    return nullptr;
}

void* UDPCommTool::thr_Litsen2Port(void* param)
{
    UDPListenParam rec;
    memcpy(&rec, param, sizeof rec);
    int sock = socket(AF_INET, SOCK_DGRAM, 0);
    if (sock < 0) {
        printLine("Creating listen2local socket failed.");
        return nullptr;
    }
    sockaddr_in local;
    memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    local.sin_port = htons(rec.port);
    if (bind(sock, (const sockaddr*)&local, sizeof local) < 0) {
        printLine("Bind error.");
        return nullptr;
    }
    char buf[BUFFER_SIZE];
    receiveLoop(sock, rec.onRecv, buf);
    printLine("recvfrom local error");
    return nullptr;
}

void* UDPCommTool::thr_PeriodSend(void* param)
{
    UDPPeriodParam rec = *(const UDPPeriodParam*)param;
    if (rec.build == nullptr || rec.send == nullptr) {
        return nullptr;
    }
    char buf[BUFFER_SIZE];
    memset(buf, 0, sizeof buf);
    for (;;) {
        sleepAtLeastFloor(rec.periodUs);
        int n = rec.build(buf, 0, BUFFER_SIZE);
        rec.send(buf, n);
    }
    return nullptr;
}

void* UDPCommTool::thr_PeriodSendWithRandomTimeOffset(void* param)
{
    UDPRandomPeriodParam rec = *(const UDPRandomPeriodParam*)param;
    if (rec.build == nullptr || rec.send == nullptr) {
        return nullptr;
    }
    char buf[BUFFER_SIZE];
    memset(buf, 0, sizeof buf);
    for (;;) {
        usleep(randomPeriodUs(rec.periodUs, rec.maxOffsetUs, RandomTool::getNextRand()));
        int n = rec.build(buf, 0, BUFFER_SIZE);
        rec.send(buf, n);
    }
    return nullptr;
}

int UDPCommTool::randomPeriodUs(int periodUs, int maxOffsetUs, double r)
{
    int sleepUs = (int)(periodUs + (2 * (r - 0.5)) * maxOffsetUs);
    return sleepUs < MIN_PERIOD_US ? MIN_PERIOD_US : sleepUs;
}
