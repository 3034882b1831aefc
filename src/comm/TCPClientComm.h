#ifndef V2XSHM_COMM_TCPCLIENTCOMM_H
#define V2XSHM_COMM_TCPCLIENTCOMM_H

#include <netinet/in.h>

// One client connection over TCP/IPv4. One thread may run tcpRecv while
// others send; nothing is locked, and the probes of tcpRecv go through the
// same send counters. Messages go to standard output.
class TCPClientComm {
public:
    static constexpr int RECV_BUFFER_SIZE = 10000;
    static constexpr int RECV_TIMEOUT_S = 2;    // an idle connection is probed this often
    static constexpr int STUCK_SEND_COUNT = 5;  // growing send queues in a row that end it

    TCPClientComm();
    ~TCPClientComm();

    // Closes any earlier socket, then connects. 1 connected (receive
    // time-out 2 s, send counters reset); -1 no socket; -2 bad address (or
    // null ip); -3 connect failed. After -2 or -3 the socket stays open
    // until the next initTcpClient or closeTcpClient.
    int initTcpClient(const char* ip, unsigned short port);

    // Sends len bytes, then pauses 1 ms. The bytes sent; -1 no socket; -2
    // the connection was closed: the send failed, errno read EPIPE (even a
    // stale one, left from an earlier call), or the send queue had grown at
    // five sends in a row (a peer that stopped reading); -3 the send threw
    // (connection closed). A broken pipe never raises SIGPIPE.
    int tcpSend(char* buf, int len);

    // Receives until the connection fails, handing each chunk (at most
    // 10,000 bytes, zero-padded in a 10,000-byte buffer) to onData. When
    // nothing arrives for 2 s, or the peer closed, one probe byte is sent;
    // its failure ends the loop. -1 no socket; -2 connection lost; -3 the
    // receive threw (connection closed).
    int tcpRecv(void* (*onData)(char* data, int len));

    // Closes the socket unless its number is below 1 (socket 0 is never
    // closed). Always 1.
    int closeTcpClient();

    int sock;                // -1 when closed
    sockaddr_in serverAddr;  // IPv4, port in network order
    int lastQueued;          // bytes in the send queue at the previous send
    int queueGrowCount;      // sends in a row that found the queue longer
};

#endif
