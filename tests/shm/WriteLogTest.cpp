#include "shm/WriteLog.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "comm/UDPCommTool.h"
#include "support/Loopback.h"

namespace {

// The log collector: a socket on the fixed local port.
class Collector {
public:
    Collector() : sock(bindLoopback(SOCK_DGRAM, WriteLog::LOG_PORT))
    {
        int size = 1 << 20;
        setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    }
    ~Collector() { close(sock); }
    // The next datagram; "<none>" when nothing comes in time.
    std::string next()
    {
        std::string text;
        return recvDatagram(sock, &text) ? text : "<none>";
    }
    // Sends a marker straight to the collector: whatever arrives before it
    // was sent earlier.
    void mark(const char* text)
    {
        std::string copy = text;
        UDPCommTool::UDPSend("127.0.0.1", WriteLog::LOG_PORT, &copy[0], (int)copy.size());
    }
    int sock;
};

}  // namespace

// One test, since the prefix is process-wide and the first steps need it unset.
TEST(WriteLog, SendsPrefixedTextOnlyAfterInitAndNeverEmpty)
{
    Collector collector;
    ASSERT_GE(collector.sock, 0);

    WriteLog::writeLog("before init");
    collector.mark("mark 1");
    EXPECT_EQ(collector.next(), "mark 1");

    EXPECT_EQ(WriteLog::initLog(nullptr), -1);
    EXPECT_EQ(WriteLog::initLog("gnssd"), 0);
    WriteLog::writeLog("");
    collector.mark("mark 2");
    EXPECT_EQ(collector.next(), "mark 2");

    std::string withZero("a\0b\n", 4);  // sent as it is: no terminator, no line end added
    WriteLog::writeLog(withZero);
    EXPECT_EQ(collector.next(), "[gnssd] " + withZero);

    // Lines of several threads arrive whole.
    ASSERT_EQ(WriteLog::initLog("multi"), 0);
    constexpr int THREADS = 4, LINES = 25;
    std::vector<std::thread> writers;
    for (int t = 0; t < THREADS; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < LINES; ++i) {
                WriteLog::writeLog(std::string(400, (char)('a' + t)) + std::to_string(i));
            }
        });
    }
    for (auto& w : writers) {
        w.join();
    }
    std::set<std::string> seen;
    for (int n = 0; n < THREADS * LINES; ++n) {
        std::string line = collector.next();
        ASSERT_NE(line, "<none>") << "after " << n << " lines";
        ASSERT_EQ(line.compare(0, 8, "[multi] "), 0) << line;
        char c = line[8];
        EXPECT_EQ(line.find_first_not_of(c, 8), 408u) << line;
        seen.insert(line);
    }
    EXPECT_EQ(seen.size(), (size_t)(THREADS * LINES));
}
