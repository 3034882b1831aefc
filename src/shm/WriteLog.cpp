#include "shm/WriteLog.h"

#include <exception>
#include <vector>

#include "comm/UDPCommTool.h"

std::string WriteLog::proc_name;
// Statically initialised, so that a line written while another thread calls
// initLog never meets a mutex being set up.
pthread_mutex_t WriteLog::logfile_mutex = PTHREAD_MUTEX_INITIALIZER;

int WriteLog::initLog(const char* procName)
{
    if (procName == nullptr) {
        return -1;
    }
    try {
        std::string prefix = "[" + std::string(procName) + "] ";
        pthread_mutex_lock(&logfile_mutex);
        proc_name.swap(prefix);
        pthread_mutex_unlock(&logfile_mutex);
    } catch (const std::exception&) {
        return -1;
    }
    return 0;
}

void WriteLog::writeLog(std::string text)
{
    if (text.empty()) {
        return;
    }
    pthread_mutex_lock(&logfile_mutex);
    try {
        if (!proc_name.empty()) {
            std::vector<char> line(proc_name.begin(), proc_name.end());
            line.insert(line.end(), text.begin(), text.end());
            UDPCommTool::UDPSend("127.0.0.1", LOG_PORT, line.data(), (int)line.size());
        }
    } catch (const std::exception&) {
        // A log line is not worth failing the caller for.
    }
    pthread_mutex_unlock(&logfile_mutex);
}
