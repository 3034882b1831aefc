#ifndef V2XSHM_SHM_WRITELOG_H
#define V2XSHM_SHM_WRITELOG_H

#include <pthread.h>
#include <string>

// Sends log lines to the log collector of the unit: each line is one UDP
// datagram to 127.0.0.1:11101 holding "[" + process name + "] " + text,
// with no line end and no time stamp (the collector adds what it needs).
class WriteLog {
public:
    static constexpr unsigned short LOG_PORT = 11101;

    // Sets the prefix to "[" + procName + "] ". Returns 0, or -1 (prefix
    // unchanged) when procName is null. May be called again to rename.
    static int initLog(const char* procName);
    // Sends prefix + text as one datagram. Nothing is sent before initLog
    // or for an empty text. Datagrams of different threads never mix; send
    // failures are dropped silently.
    static void writeLog(std::string text);

    static std::string proc_name;           // the prefix; empty until initLog
    static pthread_mutex_t logfile_mutex;   // serialises sending
};

#endif
