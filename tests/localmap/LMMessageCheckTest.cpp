#include "localmap/LMMessageCheck.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
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
// names. Small enough to know every field's offset.
std::vector<char> minimalMessage()
{
    LMNodeExtend node;
    node.nodeId = 77;
    LMLinkExtend link;
    link.upstreamNodeId = 5;
    link.laneNum = 1;
    LMLaneExtend lane;
    lane.laneID = 1;
    lane.points.push_back(pointAt(0, -20));
    LMMovementBase movement;
    movement.remoteNodeId = 9;
    lane.movements[9] = movement;
    link.lanes[1] = lane;
    LMSpeedLimitBase limit;
    limit.type = 5;
    limit.speed = 13.9f;
    link.speedLimits.push_back(limit);
    link.points.push_back(pointAt(0, -20));
    link.movements[9] = movement;
    node.links[5] = link;
    std::vector<char> out;
    LMMessageWriter::writeNodeList({node}, &out);
    return out;
}

// Offsets in minimalMessage(), from its layout.
constexpr int MINIMAL_SIZE = 192;
constexpr int NODE_NAME_LEN_AT = 36;
constexpr int LINK_NAME_LEN_AT = 61;
constexpr int LENGTH_FIELDS[] = {6, 8, 49, 51, 75, 77, 91, 123, 138, 149, 181};
constexpr int COUNT_FIELDS[] = {2, 45, 71, 87, 119, 134, 145, 177};

void putShort(std::vector<char>* bytes, int at, short value)
{
    SerializeTool::Short2Byte(bytes->data(), &at, value);
}

void putInt(std::vector<char>* bytes, int at, int value)
{
    SerializeTool::Int2Byte(bytes->data(), &at, value);
}

int readInt(const std::vector<char>& bytes, int at)
{
    int value = 0;
    SerializeTool::Byte2Int(bytes.data(), &at, &value);
    return value;
}

// Keys and flattened images of every node: equal when the maps are equal.
std::vector<std::vector<char>> imagesOf(const std::map<int64_t, LMNodeExtend>& nodes)
{
    std::vector<std::vector<char>> images;
    for (const auto& entry : nodes) {
        std::vector<char> key(sizeof entry.first);
        memcpy(key.data(), &entry.first, sizeof entry.first);
        images.push_back(key);
        images.push_back(flatOf(entry.second));
    }
    return images;
}

// The bytes alone in a heap block of their exact size, so that a sanitizer
// build reports any read past them.
std::unique_ptr<char[]> exactCopy(const std::vector<char>& bytes, size_t n)
{
    std::unique_ptr<char[]> copy(new char[n > 0 ? n : 1]);
    memcpy(copy.get(), bytes.data(), n);
    return copy;
}

}  // namespace

class LMMessageCheckTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        marker = sampleNode(4242);
        resetMap();
    }

    // A map in use, which a failed decode must leave as it is.
    void resetMap()
    {
        mng.nodes.clear();
        int64_t id = marker.nodeId;  // by value: the field is packed
        mng.nodes[id] = marker;
    }

    void expectMapUntouched(const std::string& what)
    {
        ASSERT_EQ(mng.nodes.size(), 1u) << what;
        EXPECT_EQ(flatOf(mng.nodes.begin()->second), flatOf(marker)) << what;
    }

    static constexpr int ANY_FAULT = 0;

    // Runs the checked decoder on exactly `n` bytes of `bytes` and expects
    // `code` (any negative code for ANY_FAULT) reported at `faultAt` (when
    // not -1), with the cursor and the map as they were.
    void expectRefused(const std::vector<char>& bytes, size_t n, int code, const std::string& what,
                       int faultAt = -1)
    {
        resetMap();
        std::unique_ptr<char[]> copy = exactCopy(bytes, n);
        int pos = 0;
        int reportedAt = -1;
        int checked = LMMessageCheck::checkNodeList(copy.get(), 0, (int)n, &reportedAt);
        EXPECT_GE(reportedAt, 0) << what;
        EXPECT_LE(reportedAt, (int)n) << what;
        if (faultAt != -1) {
            EXPECT_EQ(reportedAt, faultAt) << what;
        }
        int decoded = LMMessageCheck::DeSerializeChecked(&mng, copy.get(), &pos, (int)n);
        EXPECT_EQ(decoded, checked) << what;
        if (code == ANY_FAULT) {
            EXPECT_LT(decoded, 0) << what;
        } else {
            EXPECT_EQ(decoded, code) << what;
        }
        EXPECT_EQ(pos, 0) << what;
        expectMapUntouched(what);
    }

    LMNodeListMng mng{true};
    LMNodeExtend marker;
};

TEST_F(LMMessageCheckTest, MinimalMessageHasTheLayoutTheOffsetsAssume)
{
    std::vector<char> bytes = minimalMessage();
    ASSERT_EQ((int)bytes.size(), MINIMAL_SIZE);
    EXPECT_EQ(bytes[NODE_NAME_LEN_AT], 0);
    EXPECT_EQ(bytes[LINK_NAME_LEN_AT], 0);
    for (int at : COUNT_FIELDS) {
        EXPECT_EQ(readInt(bytes, at), 1) << "count at " << at;
    }
}

TEST_F(LMMessageCheckTest, WellFormedMessagesDecodeExactlyAsTheTrustedDecoder)
{
    struct Case {
        std::string what;
        std::vector<char> bytes;
        int pos;
    };
    std::vector<Case> cases;
    auto add = [&cases](const std::string& what, const std::vector<LMNodeExtend>& nodes) {
        std::vector<char> bytes;
        ASSERT_GT(LMMessageWriter::writeNodeList(nodes, &bytes), 0) << what;
        cases.push_back({what, bytes, 0});
    };
    add("no nodes", {});
    add("node without links", {LMNodeExtend()});
    add("two full nodes, names of 64 bytes", {sampleNode(1), sampleNode(-9)});
    add("a node id sent twice: the later one wins", {sampleNode(3), sampleNode(5), sampleNode(3)});
    std::vector<char> sample;
    ASSERT_GT(SampleIntersection::writeMessage(&sample), 0);
    cases.push_back({"sample intersection", sample, 0});

    std::vector<char> zeroLengths = minimalMessage();
    for (int at : LENGTH_FIELDS) {
        putShort(&zeroLengths, at, 0);  // only the sign of a length is read
    }
    cases.push_back({"every record length 0", zeroLengths, 0});
    std::vector<char> noLinks = minimalMessage();
    putInt(&noLinks, 45, -1);  // a negative count announces nothing; the node ends there
    cases.push_back({"negative link count", noLinks, 0});
    // Built through a string: GCC 12 at -O2 misreads vector::insert here
    // as an out-of-bounds access.
    std::string framedText = std::string(7, 'x') + std::string(sample.begin(), sample.end()) + std::string(9, 'y');
    std::vector<char> framed(framedText.begin(), framedText.end());
    cases.push_back({"inside other bytes", framed, 7});

    for (const Case& c : cases) {
        int len = (int)c.bytes.size() - c.pos;
        int trustedPos = c.pos;
        int trusted = mng.DeSerialize(c.bytes.data(), &trustedPos, len);
        ASSERT_GT(trusted, 0) << c.what;
        std::vector<std::vector<char>> expected = imagesOf(mng.nodes);

        resetMap();
        std::unique_ptr<char[]> copy = exactCopy(c.bytes, c.bytes.size());
        EXPECT_EQ(LMMessageCheck::checkNodeList(copy.get(), c.pos, len), trusted) << c.what;
        int pos = c.pos;
        EXPECT_EQ(LMMessageCheck::DeSerializeChecked(&mng, copy.get(), &pos, len), trusted) << c.what;
        EXPECT_EQ(pos, trustedPos) << c.what;
        EXPECT_EQ(imagesOf(mng.nodes), expected) << c.what;
        // The message alone, with nothing after it, is still whole.
        EXPECT_EQ(LMMessageCheck::checkNodeList(copy.get(), c.pos, trusted), trusted) << c.what;
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

TEST_F(LMMessageCheckTest, CountsBeyondTheDataAreRefused)
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

TEST_F(LMMessageCheckTest, CountIsHeldToTheRecordsTheBytesCanHold)
{
    // An all-zero node record is well formed: 43 bytes, id 0, no links.
    const int nodes = 1000;
    std::vector<char> bytes(6 + 43 * nodes, 0);
    for (int count : {nodes, nodes + 1, INT_MAX}) {
        putInt(&bytes, 2, count);
        int pos = 0;
        int expected = count == nodes ? (int)bytes.size() : LMMessageCheck::TRUNCATED;
        EXPECT_EQ(LMMessageCheck::DeSerializeChecked(&mng, bytes.data(), &pos, (int)bytes.size()), expected)
            << "count " << count;
    }
}

TEST_F(LMMessageCheckTest, NamesOver64BytesAreRefused)
{
    for (int at : {NODE_NAME_LEN_AT, LINK_NAME_LEN_AT}) {
        for (int n : {65, 255}) {
            std::vector<char> bytes = minimalMessage();
            bytes[at] = (char)n;
            int trustedPos = 0;
            EXPECT_EQ(mng.DeSerialize(bytes.data(), &trustedPos, (int)bytes.size()), -2);
            expectRefused(bytes, bytes.size(), LMMessageCheck::MALFORMED,
                          "name length " + std::to_string(n) + " at " + std::to_string(at), at);
        }
    }
}

TEST_F(LMMessageCheckTest, NegativeRecordLengthsAreRefusedAsTheTrustedDecoderDoes)
{
    for (int at : LENGTH_FIELDS) {
        for (short len : {(short)-1, (short)SHRT_MIN}) {
            std::vector<char> bytes = minimalMessage();
            putShort(&bytes, at, len);
            // The trusted decoder refuses it too: this is a length it reads.
            int trustedPos = 0;
            EXPECT_EQ(mng.DeSerialize(bytes.data(), &trustedPos, (int)bytes.size()), -2) << "length at " << at;
            expectRefused(bytes, bytes.size(), LMMessageCheck::MALFORMED,
                          "length " + std::to_string(len) + " at " + std::to_string(at), at);
        }
    }
}

TEST_F(LMMessageCheckTest, BadArgumentsAreRefusedWithoutTouchingTheMap)
{
    std::vector<char> bytes = minimalMessage();
    const char* buf = bytes.data();
    int size = (int)bytes.size();
    struct Case {
        const char* what;
        LMNodeListMng* mng;
        const char* buf;
        int pos;
        int len;
    };
    const Case cases[] = {
        {"null buffer", &mng, nullptr, 0, size},
        {"null manager", nullptr, buf, 0, size},
        {"negative cursor", &mng, buf, -1, size},
        {"negative len", &mng, buf, 0, -1},
        {"end beyond INT_MAX", &mng, buf, 10, INT_MAX},
    };
    for (const Case& c : cases) {
        int pos = c.pos;
        EXPECT_EQ(LMMessageCheck::DeSerializeChecked(c.mng, c.buf, &pos, c.len), LMMessageCheck::BAD_ARGS) << c.what;
        EXPECT_EQ(pos, c.pos) << c.what;
        if (c.mng != nullptr) {
            EXPECT_EQ(LMMessageCheck::checkNodeList(c.buf, c.pos, c.len), LMMessageCheck::BAD_ARGS) << c.what;
        }
        expectMapUntouched(c.what);
    }
    EXPECT_EQ(LMMessageCheck::DeSerializeChecked(&mng, buf, nullptr, size), LMMessageCheck::BAD_ARGS);
    expectMapUntouched("null cursor");
}
