#include "shm/TextFileTool.h"
#include "shm/TimeTool.h"
#include "shm/IFRefreshable.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <unistd.h>

namespace {

std::string writeFile(const std::string& content)
{
    std::string path = "/tmp/v2xshm_text_" + std::to_string(getpid());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    return path;
}

}  // namespace

TEST(TextFileTool, ReadsLinesThroughEveryEndOfFileAndAppends)
{
    // content, buffer size, then "rc:text" of each read until -1 or 0
    struct { std::string content; int size; std::string reads; } cases[] = {
        {"", 16, "1: -1:"}, {"one\ntwo\n", 16, "1:one 1:two 1: -1:"}, {"one\ntwo", 16, "1:one 1:two 0: 0:"},
        {"1234567\nx", 8, "1:1234567 1:x 0:"},
        {"12345678\nx\n", 8, "1:1234567 -1:"},  // longer than the buffer: cut, then failed
    };
    for (const auto& c : cases) {
        std::string path = writeFile(c.content), got;
        TextFileReadTool reader;
        ASSERT_EQ(reader.init_if(path.c_str()), 1);
        EXPECT_EQ(reader.init_if(path.c_str()), -1);
        for (int i = 0; i < 5 && got.size() < c.reads.size(); ++i) {
            char buf[16];
            int rc = reader.read_if(buf, c.size);
            got += (got.empty() ? "" : " ") + std::to_string(rc) + ":" + (rc >= 0 ? buf : "");
        }
        EXPECT_EQ(got, c.reads) << c.content;
    }
    // Appended lines are flushed at once; a reader that finished a file opens the next.
    TextFileReadTool reader;
    TextFileAppendTool out;
    char buf[4];
    std::string path = writeFile("a");
    EXPECT_EQ(reader.init_if("/nonexistent/file") + out.init_of("/nonexistent/dir/file"), -3);
    ASSERT_EQ(out.init_of(path.c_str()), 1);
    EXPECT_EQ(out.init_of(path.c_str()), -1);
    out.write_of("b");
    for (int pass = 0; pass < 2; ++pass) {  // read to the end, then the file again
        ASSERT_EQ(reader.init_if(path.c_str()), 1);
        EXPECT_EQ(reader.read_if(buf, sizeof buf), 1);
        EXPECT_STREQ(buf, "ab");
        EXPECT_EQ(reader.read_if(buf, sizeof buf), 1);  // nothing left: fails from now on
    }
    remove(path.c_str());
}

TEST(IF_Refreshable, AgeComparisonIsStrict)
{
    const double INF = std::numeric_limits<double>::infinity();
    double now = TimeTool::getPreciseTimeNow();
    struct {
        double stamp, limit;
        bool over;
    } cases[] = {
        {now - 5.0, 4.5, true}, {now - 5.0, 5.5, false},
        {now - 0.01, 0.0, true}, {now + 100.0, 0.0, false},  // any measurable age is over 0; a stamp ahead is not
        {-INF, INF, false},  // age exactly at the limit is still fresh
    };
    for (const auto& c : cases) {
        IF_Refreshable rec;
        rec.latestRefreshTime = c.stamp;
        EXPECT_EQ(rec.isPreciseOverTime(c.limit), c.over) << "stamp " << c.stamp << " limit " << c.limit;
    }
}
