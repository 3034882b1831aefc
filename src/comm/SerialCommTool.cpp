#include "comm/SerialCommTool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr unsigned SETTLE_US = 1000000;

// The line speed for a requested speed; B0 (none) for any other.
speed_t lineSpeed(int speed)
{
    switch (speed) {
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 115200:
        return B115200;
    default:
        return B0;
    }
}

}  // namespace

SerialCommTool::SerialCommTool() : fd(-1)
{
    memset(&ioMutex, 0, sizeof ioMutex);
}

SerialCommTool::~SerialCommTool()
{
    closeSerial();
}

int SerialCommTool::initSerial(const char* device, int speed)
{
    if (fd >= 0) {
        return -2;
    }
    if (pthread_mutex_init(&ioMutex, nullptr) != 0) {
        return -4;
    }
    if (device == nullptr) {
        return -1;
    }
    int newFd = open(device, O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (newFd < 0) {
        return -1;
    }
    if (set_port_speed(newFd, speed) < 0) {
        close(newFd);
        return -3;
    }
    fd = newFd;
    usleep(SETTLE_US);
    return 1;
}

int SerialCommTool::set_port_speed(int fd, int speed)
{
    termios current;
    if (tcgetattr(fd, &current) != 0) {
        return -1;
    }
    termios setting;
    memset(&setting, 0, sizeof setting);
    setting.c_cflag |= CLOCAL | CREAD;
    setting.c_cflag &= ~CSIZE;
    setting.c_cflag |= CS8;
    setting.c_cflag &= ~PARENB;
    setting.c_cflag &= ~CSTOPB;
    setting.c_cc[VTIME] = 0;
    setting.c_cc[VMIN] = 6;
    speed_t line = lineSpeed(speed);
    if (line != B0) {
        cfsetispeed(&setting, line);
        cfsetospeed(&setting, line);
    }
    tcflush(fd, TCIFLUSH);
    if (tcsetattr(fd, TCSANOW, &setting) != 0) {
        return -1;
    }
    return 0;
}

int SerialCommTool::write2SerialIF(const char* buf, int len)
{
    if (fd < 0) {
        return -1;
    }
    pthread_mutex_lock(&ioMutex);
    try {
        ssize_t n = write(fd, buf, len);
        (void)n;  // a short write is not retried
        fsync(fd);
    } catch (const std::exception&) {
        pthread_mutex_unlock(&ioMutex);
        printf("Catch exception in write2SerialIF()...\n");
        fflush(stdout);
        return -2;
    }
    pthread_mutex_unlock(&ioMutex);
    return 1;
}

int SerialCommTool::readSerial(long waitUs, char* buf, int size)
{
    if (fd < 0) {
        return -1;
    }
    if (buf == nullptr || size < 2 || waitUs < 0) {
        return -2;
    }
    memset(buf, 0, size);
    usleep((useconds_t)waitUs);
    pthread_mutex_lock(&ioMutex);
    int n = readSerialOnce(fd, buf, size);
    pthread_mutex_unlock(&ioMutex);
    return n;
}

int SerialCommTool::readSerialOnce(int fd, char* buf, int size)
{
    if (buf == nullptr || size < 0) {
        return -3;
    }
    int total = 0;
    try {
        for (;;) {
            ssize_t n = read(fd, buf + total, size - total);
            if (n < 0) {
                return errno == EAGAIN || errno == EWOULDBLOCK ? total : -3;
            }
            if (n == 0) {
                return total;
            }
            usleep(BURST_GAP_US);
            total += (int)n;
        }
    } catch (const std::exception&) {
        printf("Catch exception in readSerialOnce()...\n");
        fflush(stdout);
        return -3;
    }
}

void SerialCommTool::closeSerial()
{
    if (fd >= 0) {
        close(fd);
        fd = -1;
    }
}
