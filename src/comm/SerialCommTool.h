#ifndef V2XSHM_COMM_SERIALCOMMTOOL_H
#define V2XSHM_COMM_SERIALCOMMTOOL_H

#include <pthread.h>

// One serial device in raw, non-blocking mode (8N1, no flow control, no
// echo). A write and a burst read never run at once (ioMutex), so one
// writer thread and one reader thread may share the port.
class SerialCommTool {
public:
    static constexpr long BURST_GAP_US = 2000;  // silence that ends a burst

    SerialCommTool();
    ~SerialCommTool();

    // Opens device at speed 9600, 19200, 38400 or 115200 (any other speed
    // opens the port with no speed set), then waits 1 s for the line to
    // settle. 1 opened; -1 open failed (or null device); -2 already open;
    // -3 line setting failed (the device is closed again); -4 mutex
    // initialisation failed.
    int initSerial(const char* device, int speed);
    // Writes len bytes once (a short write is not retried) and flushes.
    // 1; -1 not open; -2 an exception.
    int write2SerialIF(const char* buf, int len);
    // Zeroes size bytes of buf, sleeps waitUs (without the lock), then reads
    // the burst waiting (readSerialOnce). The number of bytes read (buf may
    // come back full, without a terminator); -1 not open; -2 null buf, size
    // below 2 or negative waitUs; -3 read error.
    int readSerial(long waitUs, char* buf, int size);
    // Reads from fd until it has nothing more within 2 ms of the last part,
    // or size bytes are in. The number read, or -3 on a read error (other
    // than nothing waiting) or bad arguments.
    static int readSerialOnce(int fd, char* buf, int size);
    // Closes the device if open. The mutex is left as it is.
    void closeSerial();
    // Puts fd in raw 8N1 at speed (see initSerial), input flushed. 0, or -1
    // when fd is not a terminal or the setting is refused.
    static int set_port_speed(int fd, int speed);

    int fd;                   // -1 when closed
    pthread_mutex_t ioMutex;  // set up by initSerial
};

#endif
