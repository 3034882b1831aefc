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

using Images = std::vector<std::vector<char>>;

// Flattened images, refresh time cleared (stamped on reception, never sent).
template <typename T>
std::vector<char> flatOf(T rec)
{
    rec.latestRefreshTime = 0;
    std::vector<char> bytes((size_t)rec.flatSize());
    int pos = 0;
    rec.Obj2Buff(bytes.data(), &pos);
    return bytes;
}
template <typename Rec>
Images imagesOf(const std::vector<Rec>& records)
{
    Images out;
    for (const Rec& rec : records) out.push_back(flatOf(rec));
    return out;
}
template <typename K, typename Rec>
Images imagesOf(const std::map<K, Rec>& records)
{
    Images out;
    for (const auto& entry : records) out.push_back(flatOf(entry.second));
    return out;
}

// Writes `records` behind 3 bytes of other data, checks the frame (2 zero
// bytes, the big-endian count) and the walk's span, decodes it through the
// checked front into mng and returns the local copy's images.
template <typename Rec, typename Mng, typename Local>
Images roundTrip(int (*write)(const std::vector<Rec>&, std::vector<char>*), const std::vector<Rec>& records,
                 int (*walk)(const char*, int, int, int*), int (*decode)(Mng*, const char*, int*, int),
                 Local Mng::*local)
{
    std::vector<char> out = {'x', 'y', 'z'};
    int written = write(records, &out);
    EXPECT_EQ(written, (int)out.size() - 3);
    const unsigned char head[6] = {0, 0, 0, 0, 0, (unsigned char)records.size()};
    EXPECT_EQ(memcmp(out.data() + 3, head, sizeof head), 0) << "2 zero bytes, then the count";
    EXPECT_EQ(walk(out.data(), 3, written, nullptr), written);
    Mng mng(false);
    int pos = 3;
    EXPECT_EQ(decode(&mng, out.data(), &pos, written), written);
    EXPECT_EQ(pos, (int)out.size());
    return imagesOf(mng.*local);
}

// Records by key, the later winning, as a receiver keeps them.
template <typename Rec, typename Key>
Images byKey(const std::vector<Rec>& records, Key key)
{
    std::map<int64_t, Rec> out;
    for (const Rec& rec : records) out[key(rec)] = rec;
    return imagesOf(out);
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
        EXPECT_EQ(roundTrip(LMMessageWriter::writeNodeList, someNodes, LMMessageCheck::checkNodeList,
                            LMMessageCheck::DeSerializeChecked,
                            &LMNodeListMng::nodes),
                  byKey(someNodes, [](const LMNodeExtend& node) { return node.nodeId; }));
        EXPECT_EQ(roundTrip(LMMessageWriter::writeTLList, someLights, LMSignalCheck::checkTLList,
                            LMSignalCheck::DeSerializeChecked, &LMTLListMng::lights),
                  byKey(someLights, [](const LMTrafficLightExtend& light) { return light.id; }));
        EXPECT_EQ(roundTrip(LMMessageWriter::writeRSIList, someRsi, LMSignalCheck::checkRSIList,
                            LMSignalCheck::DeSerializeChecked, &LMRSIListMng::records),
                  imagesOf(someRsi));
    }
}

TEST(LMMessageWriter, ARecordTooLongForItsLengthFieldLeavesTheOutputAsItWas)
{
    // 1200 points of 28 bytes each: more than a 16-bit length can say.
    LMRSIExtend big = SampleSignal::rsiRecords()[0];
    big.points.assign(1200, LMPointBase());
    std::vector<char> out = {'k', 'e', 'p', 't'};
    const std::vector<char> before = out;
    EXPECT_EQ(LMMessageWriter::writeRSIList({SampleSignal::rsiRecords()[1], big}, &out), -1);
    EXPECT_EQ(out, before);
    EXPECT_EQ(LMMessageWriter::writeNodeList({}, nullptr), -1);
}
