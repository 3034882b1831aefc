#include "shm/WriteLog.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "comm/UDPCommTool.h"
#include "support/Loopback.h"

// One test: the prefix is process-wide and the first steps need it unset.
TEST(WriteLog, SendsPrefixedTextOnlyAfterInitAndNeverEmpty)
{
    int collector = bindLoopback(SOCK_DGRAM, WriteLog::LOG_PORT);
    ASSERT_GE(collector, 0);
    char mark[] = "mark";  // sent straight to the collector: whatever comes first was sent earlier
    WriteLog::writeLog("before init");
    EXPECT_EQ(WriteLog::initLog(nullptr), -1);
    EXPECT_EQ(WriteLog::initLog("gnssd"), 0);
    WriteLog::writeLog("");
    UDPCommTool::UDPSend("127.0.0.1", WriteLog::LOG_PORT, mark, 4);
    std::string withZero("a\0b\n", 4);  // sent as it is, nothing added
    WriteLog::writeLog(withZero);
    for (std::string expected : {std::string("mark"), "[gnssd] " + withZero}) {
        std::string got;
        EXPECT_TRUE(readChunk(collector, &got));
        EXPECT_EQ(got, expected);
    }

    // Lines of several threads arrive whole.
    std::vector<std::thread> writers;
    for (char c : {'a', 'b', 'c', 'd'}) {
        writers.emplace_back([c] {
            for (int i = 0; i < 20; ++i) {
                WriteLog::writeLog(std::string(400, c) + std::to_string(i));
            }
        });
    }
    for (auto& w : writers) {
        w.join();
    }
    std::set<std::string> seen;
    for (std::string line; seen.size() < 80 && readChunk(collector, &line);) {
        EXPECT_EQ(line.find_first_not_of(line[8], 8), 408u) << line;
        seen.insert(line.substr(0, 8) + line.substr(407));
    }
    EXPECT_EQ(seen.size(), 80u);
    close(collector);
}
