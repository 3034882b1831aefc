// The checked decoders of received node, light and RSI lists: a whole message
// decodes exactly as the trusted decoder does, and anything else is refused
// where it goes wrong, without a read past the bytes given and with the
// caller's cursor and list untouched.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "v2xshm-unit/LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "codec/SerializeTool.h"
#include "localmap/LMMessageCheck.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMSignalCheck.h"
#include "localmap/LMTLListMng.h"

namespace {

constexpr int ANY_FAULT = 0;

std::vector<char> fileBytes(const char* path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

template <typename Rec>
std::vector<char> messageOf(int (*write)(const std::vector<Rec>&, std::vector<char>*), const std::vector<Rec>& recs)
{
    std::vector<char> out;
    EXPECT_GT(write(recs, &out), 0);
    return out;
}

template <typename Range, typename Get>
std::vector<std::vector<char>> flatImages(const Range& recs, Get get)
{
    std::vector<std::vector<char>> out;
    for (const auto& r : recs) {
        out.push_back(flatOf(get(r)));
    }
    return out;
}

// Each list's decoders behind one face, with a marker copy in use.
struct NodeSide {
    LMNodeListMng mng{true};
    static int check(const char* b, int p, int n, int* at) { return LMMessageCheck::checkNodeList(b, p, n, at); }
    int checked(const char* b, int* p, int n) { return LMMessageCheck::DeSerializeChecked(&mng, b, p, n); }
    int trusted(const char* b, int* p, int n) { return mng.DeSerialize(b, p, n); }
    void mark() { mng.nodes = {{4242, sampleNode(4242)}}; }
    std::vector<std::vector<char>> images() const { return imagesOf(mng.nodes); }
};

struct LightSide {
    LMTLListMng mng{true};
    static int check(const char* b, int p, int n, int* at) { return LMSignalCheck::checkTLList(b, p, n, at); }
    int checked(const char* b, int* p, int n) { return LMSignalCheck::DeSerializeChecked(&mng, b, p, n); }
    int trusted(const char* b, int* p, int n) { return mng.DeSerialize(b, p, n); }
    void mark() { mng.lights = {{-7, SampleSignal::lights()[1]}}; }
    auto images() const { return flatImages(mng.lights, [](const auto& e) { return e.second; }); }
};

struct RsiSide {
    LMRSIListMng mng{true};
    static int check(const char* b, int p, int n, int* at) { return LMSignalCheck::checkRSIList(b, p, n, at); }
    int checked(const char* b, int* p, int n) { return LMSignalCheck::DeSerializeChecked(&mng, b, p, n); }
    int trusted(const char* b, int* p, int n) { return mng.DeSerialize(b, p, n); }
    void mark() { mng.records = {SampleSignal::rsiRecords()[2]}; }
    auto images() const { return flatImages(mng.records, [](const LMRSIExtend& r) { return r; }); }
};

// The message starting at `from` decodes as the trusted decoder has it,
// alone or with other bytes after it.
template <typename Side>
void expectAccepted(Side& side, const std::vector<char>& bytes, int from, const std::string& what)
{
    side.mark();
    int len = (int)bytes.size() - from;
    int trustedPos = from;
    int trusted = side.trusted(bytes.data(), &trustedPos, len);
    ASSERT_GT(trusted, 0) << what;
    const std::vector<std::vector<char>> want = side.images();
    side.mark();
    int at = -1;
    EXPECT_EQ(Side::check(bytes.data(), from, len, &at), trusted) << what;
    EXPECT_EQ(Side::check(bytes.data(), from, trusted, &at), trusted) << what;
    int pos = from;
    EXPECT_EQ(side.checked(bytes.data(), &pos, len), trusted) << what;
    EXPECT_EQ(pos, trustedPos) << what;
    EXPECT_EQ(side.images(), want) << what;
}

// The first n bytes (fenced: a read past them faults) are refused with `code`
// (any negative code for ANY_FAULT), reported at faultAt unless it is -1.
template <typename Side>
void expectRefused(Side& side, const std::vector<char>& bytes, size_t n, int code, const std::string& what,
                   int faultAt = -1)
{
    FencedBytes copy(bytes, n);
    side.mark();
    const std::vector<std::vector<char>> marker = side.images();
    int at = -1;
    int checked = Side::check(copy.data(), 0, (int)n, &at);
    EXPECT_TRUE(at >= 0 && at <= (int)n && (faultAt == -1 || at == faultAt)) << what << ": fault at " << at;
    EXPECT_TRUE(code == ANY_FAULT ? checked < 0 : checked == code) << what << ": " << checked;
    int pos = 0;
    EXPECT_EQ(side.checked(copy.data(), &pos, (int)n), checked) << what;
    EXPECT_EQ(pos, 0) << what;
    EXPECT_EQ(side.images(), marker) << what;
}

template <typename Side>
void expectOnlyWholeAccepted(Side& side, const std::vector<char>& message, const std::string& what)
{
    expectAccepted(side, message, 0, what);
    for (size_t n = 0; n < message.size(); ++n) {
        expectRefused(side, message, n, LMMessageCheck::TRUNCATED, what + " cut to " + std::to_string(n));
    }
}

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
    std::vector<char> out = messageOf(LMMessageWriter::writeNodeList, {node});
    EXPECT_EQ(out.size(), 192u);
    return out;
}

constexpr int LENGTH_FIELDS[] = {6, 8, 49, 51, 75, 77, 91, 123, 138, 149, 181};
constexpr int COUNT_FIELDS[] = {2, 45, 71, 87, 119, 134, 145, 177};

// A field of `width` bytes at `at` set to `value`, and the refusal expected.
struct Forged {
    int at, width, value, code;
};

std::vector<char> forge(std::vector<char> bytes, const Forged& f)
{
    int at = f.at;
    if (f.width == 4) {
        SerializeTool::Int2Byte(bytes.data(), &at, f.value);
    } else if (f.width == 2) {
        SerializeTool::Short2Byte(bytes.data(), &at, (short)f.value);
    } else {
        bytes[at] = (char)f.value;
    }
    return bytes;
}

}  // namespace

TEST(SampleMessages, GeneratorsReproduceTheCommittedFilesByteForByte)
{
    std::vector<char> map, lights, rsi;
    ASSERT_TRUE(SampleIntersection::writeMessage(&map) > 0 && SampleSignal::writeLights(&lights) > 0
                && SampleSignal::writeRSI(&rsi) > 0);
    EXPECT_TRUE(fileBytes(V2XSHM_SAMPLE_MAP) == map) << "regenerate the samples with v2xshm_makesample";
    EXPECT_TRUE(fileBytes(V2XSHM_SAMPLE_SIGNAL) == lights);
    EXPECT_TRUE(fileBytes(V2XSHM_SAMPLE_RSI) == rsi);
}

TEST(CheckedDecoders, WholeMessagesDecodeAsTrustedAndEveryPrefixIsRefused)
{
    std::vector<LMTrafficLightExtend> lights = SampleSignal::lights();
    LMTrafficLightExtend bare;
    LMRSIExtend noPoints;
    NodeSide nodes;
    LightSide lightSide;
    RsiSide rsiSide;
    expectOnlyWholeAccepted(nodes, minimalMessage(), "minimal node list");
    expectOnlyWholeAccepted(nodes, fileBytes(V2XSHM_SAMPLE_MAP), "sample map");
    expectOnlyWholeAccepted(lightSide, fileBytes(V2XSHM_SAMPLE_SIGNAL), "sample light file");
    expectOnlyWholeAccepted(lightSide, messageOf(LMMessageWriter::writeTLList, {}), "no lights");
    bare.id = lights[0].id;  // a light sent twice: the later image wins whole, no phase merged
    const std::vector<char> twice = messageOf(LMMessageWriter::writeTLList, {lights[0], bare});
    expectOnlyWholeAccepted(lightSide, twice, "light twice");
    int pos = 0;
    ASSERT_EQ(lightSide.checked(twice.data(), &pos, (int)twice.size()), (int)twice.size());
    EXPECT_TRUE(lightSide.mng.lights.size() == 1 && flatOf(lightSide.mng.lights.begin()->second) == flatOf(bare));
    expectOnlyWholeAccepted(rsiSide, fileBytes(V2XSHM_SAMPLE_RSI), "sample RSI file");
    expectOnlyWholeAccepted(rsiSide, messageOf(LMMessageWriter::writeRSIList, {noPoints, SampleSignal::rsiRecords()[0], noPoints}),
                                     "RSI twice");
}

TEST(CheckedDecoders, OddButWellFormedNodeListsDecodeAsTrusted)
{
    // No nodes, an empty node, names of 64 bytes, a node id sent twice (the
    // later one wins).
    const std::vector<std::vector<LMNodeExtend>> lists = {
        {}, {LMNodeExtend()}, {sampleNode(1), sampleNode(-9)}, {sampleNode(3), sampleNode(5), sampleNode(3)}};
    NodeSide side;
    for (const auto& nodes : lists) {
        expectAccepted(side, messageOf(LMMessageWriter::writeNodeList, nodes), 0, std::to_string(nodes.size()) + " nodes");
    }
    std::vector<char> bytes = minimalMessage();
    for (int at : LENGTH_FIELDS) {
        bytes[at] = bytes[at + 1] = 0;  // only the sign of a length is read
    }
    expectAccepted(side, bytes, 0, "every record length 0");
    // A negative link count announces nothing; the node ends there.
    expectAccepted(side, forge(minimalMessage(), {45, 4, -1, 0}), 0, "negative link count");
    // Built through a string: GCC 12 at -O2 misreads vector::insert here
    // as an out-of-bounds access.
    std::vector<char> sample = fileBytes(V2XSHM_SAMPLE_MAP);
    std::string framed = std::string(7, 'x') + std::string(sample.begin(), sample.end()) + std::string(9, 'y');
    expectAccepted(side, std::vector<char>(framed.begin(), framed.end()), 7, "inside other bytes");
}

TEST(CheckedDecoders, ForgedNodeFieldsAreRefusedWhereTheyStand)
{
    // A count one record above what was sent runs on into the following
    // fields, which may fail as malformed first; counts no byte run could
    // hold fail before any record is read. Record lengths (16-bit) below 0
    // and name lengths (8-bit) above 64 fail as the trusted decoder fails them.
    std::vector<Forged> cases;
    for (int at : COUNT_FIELDS) {
        cases.insert(cases.end(), {{at, 4, 2, ANY_FAULT}, {at, 4, 1000, LMMessageCheck::TRUNCATED},
                                   {at, 4, INT_MAX, LMMessageCheck::TRUNCATED}});
    }
    for (int at : LENGTH_FIELDS) {
        cases.insert(cases.end(), {{at, 2, -1, LMMessageCheck::MALFORMED}, {at, 2, SHRT_MIN, LMMessageCheck::MALFORMED}});
    }
    for (int at : {36, 61}) {  // the node's and the link's name length
        cases.insert(cases.end(), {{at, 1, 65, LMMessageCheck::MALFORMED}, {at, 1, 255, LMMessageCheck::MALFORMED}});
    }
    NodeSide side;
    for (const Forged& c : cases) {
        std::string what = std::to_string(c.value) + " at " + std::to_string(c.at);
        std::vector<char> bytes = forge(minimalMessage(), c);
        int pos = 0;
        EXPECT_TRUE(c.width == 4 || side.trusted(bytes.data(), &pos, (int)bytes.size()) == -2) << what;
        expectRefused(side, bytes, bytes.size(), c.code, what, c.code == ANY_FAULT ? -1 : c.at);
    }
}

TEST(CheckedDecoders, ForgedLightFieldsAreRefusedWhereTheyStand)
{
    // One light with one phase of one state: list count at 2, light length
    // at 6, its base's at 8, phase count at 23, phase length at 27, its
    // base's at 29, state count at 33, state length at 37.
    LMTrafficLightExtend light;
    light.phases[1].phaseID = 1;
    light.phases[1].phaseStates[3].light = 3;
    const std::vector<char> message = messageOf(LMMessageWriter::writeTLList, {light});
    ASSERT_EQ(message.size(), 65u);
    LightSide side;
    for (Forged c : {Forged{6, 2, -1, LMSignalCheck::MALFORMED}, Forged{8, 2, -32768, LMSignalCheck::MALFORMED},
                     Forged{27, 2, -2, LMSignalCheck::MALFORMED}, Forged{37, 2, -1, LMSignalCheck::MALFORMED},
                     Forged{2, 4, 4, LMSignalCheck::TRUNCATED}, Forged{23, 4, 0x7fffffff, LMSignalCheck::TRUNCATED},
                     Forged{33, 4, 2, LMSignalCheck::TRUNCATED}}) {
        expectRefused(side, forge(message, c), message.size(), c.code, "at " + std::to_string(c.at), c.at);
    }
    // A negative count announces nothing, as the decoder reads it.
    std::vector<char> negative = forge(message, {2, 4, -3, 0});
    EXPECT_EQ(LMSignalCheck::checkTLList(negative.data(), 0, (int)negative.size()), 6);
}
