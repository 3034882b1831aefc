#include "localmap/LMMessageCheck.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "SampleIntersection.h"
#include "codec/SerializeTool.h"
#include "localmap/LMNodeListMng.h"

namespace {

// One node (77) with one link (from 5) holding one of everything: a lane
// with a point and a movement, a speed limit, a point, a movement; empty
// names. Small enough to know every field's offset (below).
std::vector<char> minimalMessage()
{
    LMNodeExtend node;
    node.nodeId = 77;
    LMLinkExtend& link = node.links[5];
    link.upstreamNodeId = 5;
    link.lanes[1].laneID = 1;
    link.lanes[1].points = {pointAt(0, -20)};
    link.lanes[1].movements[9] = movement(9);
    link.speedLimits = {limit(5, 13.9f)};
    link.points = {pointAt(0, -20)};
    link.movements[9] = movement(9);
    std::vector<char> out;
    LMMessageWriter::writeNodeList({node}, &out);
    EXPECT_EQ(out.size(), 192u);
    return out;
}

constexpr int LENGTH_FIELDS[] = {6, 8, 49, 51, 75, 77, 91, 123, 138, 149, 181};
constexpr int COUNT_FIELDS[] = {2, 45, 71, 87, 119, 134, 145, 177};

void putInt(std::vector<char>* bytes, int at, int value) { SerializeTool::Int2Byte(bytes->data(), &at, value); }

}  // namespace

class LMMessageCheckTest : public ::testing::Test {
protected:
    static constexpr int ANY_FAULT = 0;

    // Runs the check and the checked decoder on the first `n` bytes of
    // `bytes` (fenced: reading past them faults) and expects `code` (any
    // negative code for ANY_FAULT) reported at `faultAt` (when not -1), with
    // the cursor and the map in use untouched.
    void expectRefused(const std::vector<char>& bytes, size_t n, int code, const std::string& what,
                       int faultAt = -1)
    {
        FencedBytes copy(bytes, n);
        mng.nodes = {{4242, marker}};
        int pos = 0;
        int at = -1;
        int checked = LMMessageCheck::checkNodeList(copy.data(), 0, (int)n, &at);
        EXPECT_TRUE(at >= 0 && at <= (int)n && (faultAt == -1 || at == faultAt)) << what << ": fault at " << at;
        EXPECT_TRUE(code == ANY_FAULT ? checked < 0 : checked == code) << what << ": " << checked;
        EXPECT_EQ(LMMessageCheck::DeSerializeChecked(&mng, copy.data(), &pos, (int)n), checked) << what;
        EXPECT_EQ(pos, 0) << what;
        EXPECT_EQ(imagesOf(mng.nodes), imagesOf({{4242, marker}})) << what;
    }

    LMNodeListMng mng{true};
    const LMNodeExtend marker = sampleNode(4242);
};

TEST(SampleIntersection, GeneratorReproducesTheCommittedFileByteForByte)
{
    std::ifstream in(V2XSHM_SAMPLE_MAP, std::ios::binary);
    std::vector<char> committed((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<char> written;
    ASSERT_GT(SampleIntersection::writeMessage(&written), 0);
    EXPECT_EQ(written, committed) << "regenerate " << V2XSHM_SAMPLE_MAP << " with v2xshm_makesample";
}

TEST_F(LMMessageCheckTest, WellFormedMessagesDecodeExactlyAsTheTrustedDecoder)
{
    struct Case {
        std::string what;
        std::vector<char> bytes;
        int pos;
    };
    std::vector<Case> cases;
    // No nodes, an empty node, names of 64 bytes, a node id sent twice (the
    // later one wins), the sample intersection.
    const std::vector<std::vector<LMNodeExtend>> lists = {{}, {LMNodeExtend()}, {sampleNode(1), sampleNode(-9)},
                                                          {sampleNode(3), sampleNode(5), sampleNode(3)},
                                                          SampleIntersection::nodes()};
    for (const auto& nodes : lists) {
        cases.push_back({"list " + std::to_string(cases.size()), {}, 0});
        ASSERT_GT(LMMessageWriter::writeNodeList(nodes, &cases.back().bytes), 0);
    }
    const std::vector<char> sample = cases.back().bytes;
    cases.push_back({"every record length 0", minimalMessage(), 0});
    for (int at : LENGTH_FIELDS) {
        cases.back().bytes[at] = cases.back().bytes[at + 1] = 0;  // only the sign of a length is read
    }
    cases.push_back({"negative link count", minimalMessage(), 0});
    putInt(&cases.back().bytes, 45, -1);  // announces nothing; the node ends there
    // Built through a string: GCC 12 at -O2 misreads vector::insert here
    // as an out-of-bounds access.
    std::string framed = std::string(7, 'x') + std::string(sample.begin(), sample.end()) + std::string(9, 'y');
    cases.push_back({"inside other bytes", std::vector<char>(framed.begin(), framed.end()), 7});

    for (const Case& c : cases) {
        int len = (int)c.bytes.size() - c.pos;
        int trustedPos = c.pos;
        int trusted = mng.DeSerialize(c.bytes.data(), &trustedPos, len);
        ASSERT_GT(trusted, 0) << c.what;
        std::vector<std::vector<char>> expected = imagesOf(mng.nodes);
        mng.nodes = {{4242, marker}};
        EXPECT_EQ(LMMessageCheck::checkNodeList(c.bytes.data(), c.pos, len), trusted) << c.what;
        // The message alone, with nothing after it, is still whole.
        EXPECT_EQ(LMMessageCheck::checkNodeList(c.bytes.data(), c.pos, trusted), trusted) << c.what;
        int pos = c.pos;
        EXPECT_EQ(LMMessageCheck::DeSerializeChecked(&mng, c.bytes.data(), &pos, len), trusted) << c.what;
        EXPECT_EQ(pos, trustedPos) << c.what;
        EXPECT_EQ(imagesOf(mng.nodes), expected) << c.what;
    }
}

TEST_F(LMMessageCheckTest, EveryTruncationIsRefusedWithoutTouchingTheMap)
{
    std::vector<char> sample;
    ASSERT_GT(SampleIntersection::writeMessage(&sample), 0);
    for (const std::vector<char>& bytes : {minimalMessage(), sample}) {
        for (size_t n = 0; n < bytes.size(); ++n) {
            expectRefused(bytes, n, LMMessageCheck::TRUNCATED, "first " + std::to_string(n) + " bytes");
        }
    }
}

TEST_F(LMMessageCheckTest, CountsAreHeldToTheRecordsTheBytesCanHold)
{
    for (int at : COUNT_FIELDS) {
        // One more record than sent runs on into the following fields, which
        // may fail as malformed first; counts no byte run could hold fail
        // before any record is read.
        for (int count : {2, 1000, INT_MAX}) {
            std::vector<char> bytes = minimalMessage();
            putInt(&bytes, at, count);
            expectRefused(bytes, bytes.size(), count == 2 ? ANY_FAULT : LMMessageCheck::TRUNCATED,
                          "count " + std::to_string(count) + " at " + std::to_string(at), count == 2 ? -1 : at);
        }
    }
}

TEST_F(LMMessageCheckTest, NegativeLengthsAndLongNamesAreRefusedAsTheTrustedDecoderDoes)
{
    // Record lengths (16-bit) below 0 and name lengths (8-bit) above 64.
    std::vector<std::pair<int, int>> cases;
    for (int at : LENGTH_FIELDS) {
        cases.insert(cases.end(), {{at, -1}, {at, SHRT_MIN}});
    }
    for (int at : {36, 61}) {  // the node's and the link's name length
        cases.insert(cases.end(), {{at, 65}, {at, 255}});
    }
    for (auto [at, value] : cases) {
        std::string what = std::to_string(value) + " at " + std::to_string(at);
        std::vector<char> bytes = minimalMessage();
        if (value < 0) {
            int p = at;
            SerializeTool::Short2Byte(bytes.data(), &p, (short)value);
        } else {
            bytes[at] = (char)value;
        }
        int pos = 0;
        EXPECT_EQ(mng.DeSerialize(bytes.data(), &pos, (int)bytes.size()), -2) << what;
        if (at != 6) {  // inside the node: the node fails as a whole, its cursor kept
            LMNodeExtend node;
            pos = 6;
            EXPECT_EQ(node.DeSerialize(bytes.data(), &pos, 0), -2) << what;
            EXPECT_EQ(pos, 6) << what;
        }
        expectRefused(bytes, bytes.size(), LMMessageCheck::MALFORMED, what, at);
    }
}

TEST_F(LMMessageCheckTest, BadArgumentsAreRefusedWithoutTouchingTheMap)
{
    std::vector<char> bytes = minimalMessage();
    const char* buf = bytes.data();
    int size = (int)bytes.size();
    // Null buffer or manager, negative cursor or len, an end beyond INT_MAX.
    struct {
        LMNodeListMng* mng;
        const char* buf;
        int pos, len;
    } cases[] = {{&mng, nullptr, 0, size}, {nullptr, buf, 0, size}, {&mng, buf, -1, size}, {&mng, buf, 0, -1},
                 {&mng, buf, 10, INT_MAX}};
    mng.nodes = {{4242, marker}};
    for (const auto& c : cases) {
        int pos = c.pos;
        EXPECT_EQ(LMMessageCheck::DeSerializeChecked(c.mng, c.buf, &pos, c.len), LMMessageCheck::BAD_ARGS);
        EXPECT_EQ(pos, c.pos);
        EXPECT_TRUE(c.mng == nullptr || LMMessageCheck::checkNodeList(c.buf, c.pos, c.len) == LMMessageCheck::BAD_ARGS);
    }
    EXPECT_EQ(LMMessageCheck::DeSerializeChecked(&mng, buf, nullptr, size), LMMessageCheck::BAD_ARGS);
    EXPECT_EQ(imagesOf(mng.nodes), imagesOf({{4242, marker}}));
}
