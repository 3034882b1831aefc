#ifndef V2XSHM_TESTS_SUPPORT_LOOPBACK_H
#define V2XSHM_TESTS_SUPPORT_LOOPBACK_H

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

// Endpoints on 127.0.0.1 for transport tests; every wait has a limit.

// A socket of `type` bound to 127.0.0.1:port (0: any free port), or -1.
inline int bindLoopback(int type, unsigned short port)
{
    int sock = socket(AF_INET, type, 0);
    sockaddr_in addr = {};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(port);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(sock, (sockaddr*)&addr, sizeof addr) != 0) {
        close(sock);
        return -1;
    }
    return sock;
}

inline unsigned short localPort(int sock)
{
    sockaddr_in addr = {};
    socklen_t len = sizeof addr;
    getsockname(sock, (sockaddr*)&addr, &len);
    return ntohs(addr.sin_port);
}

inline bool readableWithin(int fd, int timeoutMs)
{
    pollfd p = {fd, POLLIN, 0};
    return poll(&p, 1, timeoutMs) == 1;
}

// What one read of fd gets (a datagram, a stream chunk, terminal bytes), or
// false when nothing comes in time.
inline bool readChunk(int fd, std::string* out, int timeoutMs = 5000)
{
    char buf[65536];
    ssize_t n = readableWithin(fd, timeoutMs) ? read(fd, buf, sizeof buf) : -1;
    out->assign(buf, n > 0 ? (size_t)n : 0);
    return n >= 0;
}

#endif
