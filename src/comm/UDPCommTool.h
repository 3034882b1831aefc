#ifndef V2XSHM_COMM_UDPCOMMTOOL_H
#define V2XSHM_COMM_UDPCOMMTOOL_H

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>

// Callbacks of the UDP threads; their results are ignored except build's.
// data is the thread's 10,000-byte buffer, zeroed before each receive.
typedef int (*UDPRecvCallback)(char* data, sockaddr_in* from, int len);
// Fills buf (from offset `start`, always 0, up to `capacity` bytes) and
// returns the number of bytes to send.
typedef int (*UDPBuildCallback)(char* buf, int start, int capacity);
// Sends the built bytes itself, typically with one of the UDPSend forms.
typedef int (*UDPSendCallback)(char* buf, int len);

// Parameter records of the thread bodies, in host byte order. The caller
// keeps a record alive until its thread has copied it (ThreadTool's pause
// covers that). Sizes below are those of the 32-bit target.

// thr_RecvFromSocket: a UDP socket the caller has created and bound.
struct UDPRecvParam {
    int sock;
    UDPRecvCallback onRecv;
};

#pragma pack(push, 1)
// thr_Litsen2Port: the local port to listen on, with no padding.
struct UDPListenParam {
    uint16_t port;  // host order
    UDPRecvCallback onRecv;
};
#pragma pack(pop)
static_assert(offsetof(UDPListenParam, onRecv) == 2, "parameter record changed");

// thr_PeriodSend.
struct UDPPeriodParam {
    int periodUs;  // microseconds; raised to at least 5,000
    UDPBuildCallback build;
    UDPSendCallback send;
};

// thr_PeriodSendWithRandomTimeOffset: each sleep is spread evenly over
// periodUs - maxOffsetUs .. periodUs + maxOffsetUs (at least 5,000).
struct UDPRandomPeriodParam {
    int periodUs;     // microseconds
    int maxOffsetUs;  // microseconds
    UDPBuildCallback build;
    UDPSendCallback send;
};

#if UINTPTR_MAX == 0xffffffffu
static_assert(sizeof(UDPRecvParam) == 8, "parameter record changed");
static_assert(sizeof(UDPListenParam) == 6, "parameter record changed");
static_assert(sizeof(UDPPeriodParam) == 12, "parameter record changed");
static_assert(sizeof(UDPRandomPeriodParam) == 16, "parameter record changed");
#endif

// UDP sending, and thread bodies that receive or send periodically and hand
// the bytes to the process's callbacks. Start the thread bodies with
// ThreadTool::createNewThread; each keeps its own copy of its record and a
// 10,000-byte buffer on its stack.
class UDPCommTool {
public:
    static constexpr int BUFFER_SIZE = 10000;
    static constexpr int MIN_PERIOD_US = 5000;

    // Opens a datagram socket, sends len bytes to `to`, closes it. The bytes
    // sent, or -1 (a message is printed when no socket can be opened).
    static int UDPSend(sockaddr_in* to, char* buf, int len);
    // The same to a dotted IPv4 address and a port; -1 also for a bad address.
    static int UDPSend(const char* ip, unsigned short port, char* buf, int len);
    // Sends on the caller's socket; returns what sendto returns.
    static int UDPSend(int sock, sockaddr_in* to, char* buf, int len);
    // The same to a dotted IPv4 address and a port; -1 also for a bad address.
    static int UDPSend(int sock, const char* ip, unsigned short port, char* buf, int len);

    // Receives on param's socket (a UDPRecvParam) until a receive fails,
    // then prints "recvfrom socket error" and ends. The socket stays open.
    static void* thr_RecvFromSocket(void* param);
    // Binds a datagram socket to param's port (a UDPListenParam) on all
    // local addresses and receives as above; ends with "Creating
    // listen2local socket failed.", "Bind error." or "recvfrom local error".
    static void* thr_Litsen2Port(void* param);
    // Forever: sleeps the period, builds, sends (a UDPPeriodParam). A record
    // without both callbacks ends the thread at once.
    static void* thr_PeriodSend(void* param);
    // The same with a random offset on each sleep (a UDPRandomPeriodParam).
    static void* thr_PeriodSendWithRandomTimeOffset(void* param);

    // The sleep of one jittered cycle for a draw r in [0, 1]: periodUs +
    // (2 * (r - 0.5)) * maxOffsetUs, truncated toward zero, at least 5,000.
    static int randomPeriodUs(int periodUs, int maxOffsetUs, double r);
};

#endif
