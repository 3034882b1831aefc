#include "shm/RandomTool.h"
#include "shm/TextFileTool.h"
#include "shm/ThreadTool.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <unistd.h>

#include "ShmTestSupport.h"

namespace {

std::string writeFile(const std::string& name, const std::string& content)
{
    std::string path = "/tmp/v2xshm_text_" + std::to_string(getpid()) + "_" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

}  // namespace

TEST(TextFileReadTool, ReadsLinesThroughEveryEndOfFile)
{
    const int NONE = 99;  // the read is not made
    struct {
        const char* name;
        std::string content;
        int size;
        struct {
            int rc;
            const char* text;
        } reads[4];
    } cases[] = {
        {"empty", "", 16, {{1, ""}, {-1, ""}, {NONE, ""}}},
        {"ended", "one\ntwo\n", 16, {{1, "one"}, {1, "two"}, {1, ""}, {-1, ""}}},
        {"unended", "one\ntwo", 16, {{1, "one"}, {1, "two"}, {0, ""}, {0, ""}}},
        {"exact", "1234567\nx\n", 8, {{1, "1234567"}, {1, "x"}, {1, ""}, {-1, ""}}},
        {"long", "12345678\nx\n", 8, {{1, "1234567"}, {-1, ""}, {NONE, ""}}},
        {"blank", "\n\nz", 4, {{1, ""}, {1, ""}, {1, "z"}, {0, ""}}},
    };
    for (const auto& c : cases) {
        std::string path = writeFile(c.name, c.content);
        TextFileReadTool reader;
        ASSERT_EQ(reader.init_if(path.c_str()), 1) << c.name;
        EXPECT_EQ(reader.init_if(path.c_str()), -1) << c.name;
        for (int i = 0; i < 4 && c.reads[i].rc != NONE; ++i) {
            char buf[16];
            memset(buf, 'Q', sizeof buf);
            int rc = reader.read_if(buf, c.size);
            EXPECT_EQ(rc, c.reads[i].rc) << c.name << " read " << i;
            if (rc >= 0) {
                EXPECT_STREQ(buf, c.reads[i].text) << c.name << " read " << i;
            }
        }
        reader.close_if();
        remove(path.c_str());
    }

    TextFileReadTool reader;
    char buf[4];
    EXPECT_EQ(reader.read_if(buf, sizeof buf), -1);
    EXPECT_EQ(reader.init_if("/nonexistent/file"), -2);
    // Finished with one file, the same object opens the next.
    std::string first = writeFile("first", ""), second = writeFile("second", "b\n");
    ASSERT_EQ(reader.init_if(first.c_str()), 1);
    reader.read_if(buf, sizeof buf);
    EXPECT_EQ(reader.read_if(buf, sizeof buf), -1);
    ASSERT_EQ(reader.init_if(second.c_str()), 1);
    EXPECT_EQ(reader.read_if(buf, sizeof buf), 1);
    EXPECT_STREQ(buf, "b");
    remove(first.c_str());
    remove(second.c_str());
}

TEST(TextFileAppendTool, AppendsLinesAcrossOpenings)
{
    std::string path = writeFile("append", "kept");
    {
        TextFileAppendTool out;
        ASSERT_EQ(out.init_of(path.c_str()), 1);
        EXPECT_EQ(out.init_of(path.c_str()), -1);
        out.write_of("one");
    }
    TextFileAppendTool out;
    ASSERT_EQ(out.init_of(path.c_str()), 1);
    out.write_of("");
    out.write_of("two");  // flushed at once: readable before closing
    std::ifstream in(path);
    std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(all, "keptone\n\ntwo\n");
    out.close_of();
    EXPECT_EQ(out.init_of("/nonexistent/dir/file"), -1);
    remove(path.c_str());
}

TEST(RandomTool, DrawsSpreadOverTheUnitInterval)
{
    constexpr int N = 20000, BINS = 10;
    int bins[BINS] = {};
    double lo = 1.0, hi = 0.0;
    for (int i = 0; i < N; ++i) {
        double r = RandomTool::getNextRand();
        ASSERT_GE(r, 0.0);
        ASSERT_LE(r, 1.0);
        lo = std::min(lo, r);
        hi = std::max(hi, r);
        bins[std::min(BINS - 1, (int)(r * BINS))]++;
    }
    EXPECT_TRUE(RandomTool::isInitialized);
    EXPECT_LT(lo, 0.001);
    EXPECT_GT(hi, 0.999);
    for (int b = 0; b < BINS; ++b) {
        EXPECT_NEAR(bins[b], N / BINS, N / BINS / 5) << "bin " << b;
    }
}

TEST(ThreadTool, StartsDetachedThreadsAfterAPause)
{
    static std::atomic<int> ran;
    static pthread_t seenId;
    ran = 0;
    auto body = [](void* arg) -> void* {
        seenId = pthread_self();
        ran.fetch_add(*(int*)arg);
        return nullptr;
    };
    int one = 1;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ThreadTool::createNewThread(body, &one), 1);
    unsigned long id = 0;
    EXPECT_EQ(ThreadTool::createNewThread(body, &one, &id), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    for (int i = 0; i < 500 && ran < 2; ++i) {
        usleep(10000);  // the threads run on their own; bounded wait
    }
    EXPECT_EQ(ran, 2);
    EXPECT_EQ(id, (unsigned long)seenId);
}

TEST(ProcessServices, LinkingTheLibraryAttachesNoProcessList)
{
    // This executable never names the watchdog feeder, so its manager is
    // not linked in and nothing was attached at load.
    EXPECT_FALSE(segmentExists(77101));
    EXPECT_FALSE(semaphoreExists(77101));
}
