// The message writers against the checked decoders: what a road-side process
// writes is what an on-board unit decodes, list by list.
#include "v2xshm-unit/LMMessageWriter.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "SampleIntersection.h"
#include "SampleSignal.h"
#include "localmap/LMMessageCheck.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMSignalCheck.h"
#include "localmap/LMTLListMng.h"

namespace {

template <typename T>
std::vector<char> flatOf(T rec)
{
    rec.latestRefreshTime = 0;  // stamped on reception, never sent
    std::vector<char> bytes((size_t)rec.flatSize());
    int pos = 0;
    rec.Obj2Buff(bytes.data(), &pos);
    return bytes;
}

// The flattened images of records, in order, from a vector or a map.
template <typename Rec>
std::vector<std::vector<char>> imagesOf(const std::vector<Rec>& records)
{
    std::vector<std::vector<char>> out;
    for (const auto& rec : records) {
        out.push_back(flatOf(rec));
    }
    return out;
}

template <typename K, typename V>
std::vector<std::vector<char>> imagesOf(const std::map<K, V>& records)
{
    std::vector<std::vector<char>> out;
    for (const auto& entry : records) {
        out.push_back(flatOf(entry.second));
    }
    return out;
}

// Writes `records` with `write` behind 3 bytes of other data and checks the
// frame: 2 zero bytes, the big-endian count, and a span the walk agrees with.
// Returns the message with the other data in front.
template <typename Rec>
std::vector<char> framed(int (*write)(const std::vector<Rec>&, std::vector<char>*), const std::vector<Rec>& records,
                         int (*walk)(const char*, int, int))
{
    std::vector<char> out = {'x', 'y', 'z'};
    int written = write(records, &out);
    EXPECT_EQ(written, (int)out.size() - 3);
    EXPECT_GE(out.size(), 9u);
    const unsigned char head[6] = {0, 0, 0, 0, 0, (unsigned char)records.size()};
    EXPECT_EQ(memcmp(out.data() + 3, head, sizeof head), 0) << "2 zero bytes, then the count";
    EXPECT_EQ(walk(out.data(), 3, (int)out.size() - 3), written);
    return out;
}

int walkNodes(const char* buf, int pos, int len)
{
    return LMMessageCheck::checkNodeList(buf, pos, len);
}
int walkLights(const char* buf, int pos, int len)
{
    return LMSignalCheck::checkTLList(buf, pos, len);
}
int walkRSI(const char* buf, int pos, int len)
{
    return LMSignalCheck::checkRSIList(buf, pos, len);
}

// Decodes through the checked front into mng's local copy; the bytes consumed.
template <typename Mng, typename Decode>
int decode(Mng& mng, const std::vector<char>& message, Decode checked)
{
    int pos = 3;
    int rc = checked(&mng, message.data(), &pos, (int)message.size() - 3);
    EXPECT_EQ(pos, rc < 0 ? 3 : 3 + rc);
    return rc;
}

}  // namespace

TEST(LMMessageWriter, EachListRoundTripsThroughItsCheckedDecoder)
{
    std::vector<LMNodeExtend> nodes = SampleIntersection::nodes();
    std::vector<LMTrafficLightExtend> lights = SampleSignal::lights();
    std::vector<LMRSIExtend> rsi = SampleSignal::rsiRecords();
    ASSERT_TRUE(nodes.size() > 1 && lights.size() > 1 && rsi.size() > 1);
    for (size_t n : {(size_t)0, (size_t)1, nodes.size()}) {
        SCOPED_TRACE(std::to_string(n) + " records");
        std::vector<LMNodeExtend> someNodes(nodes.begin(), nodes.begin() + n);
        std::vector<LMTrafficLightExtend> someLights(lights.begin(), lights.begin() + std::min(n, lights.size()));
        std::vector<LMRSIExtend> someRsi(rsi.begin(), rsi.begin() + std::min(n, rsi.size()));

        std::vector<char> message = framed(LMMessageWriter::writeNodeList, someNodes, walkNodes);
        LMNodeListMng nodeMng(false);
        int (*nodeDecode)(LMNodeListMng*, const char*, int*, int) = LMMessageCheck::DeSerializeChecked;
        EXPECT_EQ(decode(nodeMng, message, nodeDecode), (int)message.size() - 3);
        std::map<int64_t, LMNodeExtend> byId;
        for (const LMNodeExtend& node : someNodes) byId[node.nodeId] = node;
        EXPECT_EQ(imagesOf(nodeMng.nodes), imagesOf(byId));

        message = framed(LMMessageWriter::writeTLList, someLights, walkLights);
        LMTLListMng lightMng(false);
        int (*lightDecode)(LMTLListMng*, const char*, int*, int) = LMSignalCheck::DeSerializeChecked;
        EXPECT_EQ(decode(lightMng, message, lightDecode), (int)message.size() - 3);
        std::map<int64_t, LMTrafficLightExtend> lightsById;
        for (const LMTrafficLightExtend& light : someLights) lightsById[light.id] = light;
        EXPECT_EQ(imagesOf(lightMng.lights), imagesOf(lightsById));

        message = framed(LMMessageWriter::writeRSIList, someRsi, walkRSI);
        LMRSIListMng rsiMng(false);
        int (*rsiDecode)(LMRSIListMng*, const char*, int*, int) = LMSignalCheck::DeSerializeChecked;
        EXPECT_EQ(decode(rsiMng, message, rsiDecode), (int)message.size() - 3);
        EXPECT_EQ(imagesOf(rsiMng.records), imagesOf(someRsi));
    }
}

TEST(LMMessageWriter, ARecordTooLongForItsLengthFieldLeavesTheOutputAsItWas)
{
    // 1200 points of 28 bytes each: more than a 16-bit length can say.
    LMRSIExtend big = SampleSignal::rsiRecords()[0];
    big.points.assign(1200, big.points.empty() ? LMPointBase() : big.points[0]);
    std::vector<char> out = {'k', 'e', 'p', 't'};
    const std::vector<char> before = out;
    EXPECT_EQ(LMMessageWriter::writeRSIList({SampleSignal::rsiRecords()[1], big}, &out), -1);
    EXPECT_EQ(out, before);
    EXPECT_EQ(LMMessageWriter::writeNodeList({}, nullptr), -1);
}
