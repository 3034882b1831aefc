#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "localmap/LMNodeListMng.h"
#include "shm/TimeTool.h"
#include "support/ProcessHelpers.h"

namespace {

using NodeMap = std::map<int64_t, LMNodeExtend>;
constexpr int SIZE = LMNodeListMng::SHM_SIZE;

std::vector<char> segmentOf(LMNodeListMng& mng)
{
    std::vector<char> image(SIZE);
    mng.updateFromSHM(image.data(), SIZE);
    return image;
}

// Node ids in the order they stand in the segment.
std::vector<int64_t> idsInSegment(LMNodeListMng& mng)
{
    std::vector<char> image = segmentOf(mng);
    int32_t count = 0;
    memcpy(&count, image.data(), 4);
    std::vector<int64_t> ids;
    int pos = 4;
    LMNodeExtend node;
    for (int i = 0; i < count && node.buffer2Obj(image.data(), &pos, SIZE) > 0; ++i) {
        ids.push_back(+node.nodeId);
    }
    return ids;
}

// Overwrites 4 bytes of the live segment, as a writer dying halfway might.
struct Patch {
    int at;
    uint32_t value;
};
int applyPatch(void* shm, void* arg)
{
    const Patch* patch = static_cast<const Patch*>(arg);
    memcpy(static_cast<char*>(shm) + patch->at, &patch->value, 4);
    return 1;
}

double now() { return TimeTool::getPreciseTimeNow(); }

LMNodeExtend stampedNode(int64_t id, double age)
{
    LMNodeExtend node = sampleNode(id);
    node.latestRefreshTime = now() - age;
    return node;
}

// A node whose image alone exceeds the segment.
LMNodeExtend oversizedNode(int64_t id)
{
    LMNodeExtend node;
    node.nodeId = id;
    node.links[1].points.resize(SIZE / 34 + 1);
    return node;
}

}  // namespace

TEST(LMNodeListMng, EmptySegmentGivesEmptyMap)
{
    LMNodeListMng owner(true);
    owner.nodes[1] = sampleNode(1);
    EXPECT_EQ(owner.update(), 1);
    EXPECT_TRUE(owner.nodes.empty());
}

TEST(LMNodeListMng, CommittedNodesReachAnotherProcessUnchanged)
{
    LMNodeListMng owner(true);
    NodeMap expected;
    for (int64_t id : {7, -3, 0}) {
        LMNodeExtend node = stampedNode(id, 1.5);
        for (auto& link : node.links) {
            link.second.calcPointsDis2End();
        }
        expected[id] = node;
    }
    owner.nodes = expected;
    ASSERT_EQ(owner.commit(), 1);
    EXPECT_EQ(idsInSegment(owner), (std::vector<int64_t>{-3, 0, 7}));

    pid_t child = forkChild([&] {
        LMNodeListMng reader(false);
        if (reader.update() != 1 || reader.nodes.size() != expected.size()) {
            return 1;
        }
        for (const auto& entry : expected) {
            auto found = reader.nodes.find(entry.first);
            if (found == reader.nodes.end() || flatOf(found->second) != flatOf(entry.second)) {
                return 2;
            }
        }
        return 0;
    });
    EXPECT_EQ(waitChild(child), 0);
}

TEST(LMNodeListMng, CommitRefusesNodesLargerThanTheSegment)
{
    LMNodeListMng owner(true);
    owner.nodes[1] = sampleNode(1);
    ASSERT_EQ(owner.commit(), 1);
    const std::vector<char> before = segmentOf(owner);

    owner.nodes[2] = oversizedNode(2);
    EXPECT_EQ(owner.commit(), -1);
    EXPECT_EQ(segmentOf(owner), before);
}

TEST(LMNodeListMng, ReadersNeverRunPastTheSegment)
{
    LMNodeListMng owner(true);
    owner.nodes[1] = sampleNode(1);
    ASSERT_EQ(owner.commit(), 1);

    struct Case {
        const char* what;
        Patch patch;
        int result;
        size_t nodes;
    };
    for (Case c : {Case{"negative count", {0, 0xffffffffu}, 1, 0},
                   Case{"count far beyond the nodes", {0, (uint32_t)INT_MAX}, -1, 2},
                   Case{"link count beyond the segment", {4 + 106, 0x7fffffffu}, -1, 0}}) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(owner.commit(), 1);
        owner.operateSHMNotSafe(applyPatch, &c.patch);
        const std::vector<char> before = segmentOf(owner);
        LMNodeListMng reader(false);
        EXPECT_EQ(reader.update(), c.result);
        EXPECT_EQ(reader.nodes.size(), c.nodes);  // decoded before the failure
        if (c.result < 0) {
            NodeMap incoming = {{5, sampleNode(5)}};
            EXPECT_EQ(reader.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &incoming), -1);
            EXPECT_EQ(reader.operateSHMNotSafe(LMNodeListMng::refreshList, nullptr), -1);
            EXPECT_EQ(segmentOf(owner), before);
        }
    }
}

TEST(LMNodeListMng, InsertFromAnotherProcessMergesRestampsAndAppends)
{
    LMNodeListMng owner(true);
    LMNodeExtend stored = stampedNode(5, 5.0);
    stored.links.erase(2005);
    stored.links[3].upstreamNodeId = 3;
    owner.nodes[5] = stored;
    owner.nodes[9] = stampedNode(9, 3.0);
    const double oldStamp9 = owner.nodes[9].latestRefreshTime;
    ASSERT_EQ(owner.commit(), 1);

    pid_t child = forkChild([] {
        LMNodeListMng writer(false);
        NodeMap incoming;
        incoming[1] = sampleNode(1);  // new key, arriving unstamped
        LMNodeExtend again = sampleNode(5);
        again.name[0] = 'R';
        again.links.erase(1005);
        incoming[5] = again;  // already stored: merged
        if (writer.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &incoming) != 1) {
            return 1;
        }
        // What stays in incoming is what was new, stamped there.
        if (incoming.size() != 1 || incoming.count(1) != 1 || incoming[1].isPreciseOverTime(1.0)) {
            return 2;
        }
        return 0;
    });
    ASSERT_EQ(waitChild(child), 0);

    EXPECT_EQ(idsInSegment(owner), (std::vector<int64_t>{1, 5, 9}));
    ASSERT_EQ(owner.update(), 1);
    const LMNodeExtend& merged = owner.nodes.at(5);
    EXPECT_EQ(merged.name[0], 'R');
    EXPECT_FALSE(merged.isPreciseOverTime(1.0));  // restamped
    std::vector<int64_t> linkKeys;
    for (const auto& link : merged.links) {
        linkKeys.push_back(link.first);
    }
    EXPECT_EQ(linkKeys, (std::vector<int64_t>{3, 1005, 2005}));
    EXPECT_EQ(+owner.nodes.at(9).latestRefreshTime, oldStamp9);  // not received: untouched
    EXPECT_FALSE(owner.nodes.at(1).isPreciseOverTime(1.0));
}

TEST(LMNodeListMng, InsertRefusesAListLargerThanTheSegment)
{
    LMNodeListMng owner(true);
    owner.nodes[1] = sampleNode(1);
    ASSERT_EQ(owner.commit(), 1);
    const std::vector<char> before = segmentOf(owner);
    NodeMap incoming = {{2, oversizedNode(2)}};
    EXPECT_EQ(owner.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &incoming), -1);
    EXPECT_EQ(segmentOf(owner), before);
    EXPECT_EQ(LMNodeListMng::insertUpdateList(nullptr, &incoming), -1);
    EXPECT_EQ(LMNodeListMng::refreshList(nullptr, nullptr), -1);
}

TEST(LMNodeListMng, RefreshDropsStaleNodesAndTheirTraces)
{
    LMNodeListMng owner(true);
    LMNodeExtend fresh;
    fresh.nodeId = 1;
    fresh.latestRefreshTime = now() - 9.9;
    fresh.links[2].upstreamNodeId = 2;  // from a stale node: goes
    LMLinkExtend& kept = fresh.links[4];
    kept.upstreamNodeId = 4;
    kept.movements = {{3, movement(3)}, {4, movement(4)}};
    kept.lanes[1].laneID = 1;
    kept.lanes[1].movements = {{2, movement(2)}, {6, movement(6)}};
    owner.nodes[1] = fresh;
    owner.nodes[2] = stampedNode(2, 10.1);
    owner.nodes[3] = stampedNode(3, 10.1);
    owner.nodes[4] = stampedNode(4, 0.0);
    ASSERT_EQ(owner.commit(), 1);

    ASSERT_EQ(owner.operateSHMNotSafe(LMNodeListMng::refreshList, nullptr), 1);
    EXPECT_EQ(idsInSegment(owner), (std::vector<int64_t>{1, 4}));
    ASSERT_EQ(owner.update(), 1);
    const LMNodeExtend& node = owner.nodes.at(1);
    ASSERT_EQ(node.links.size(), 1u);
    const LMLinkExtend& link = node.links.at(4);
    ASSERT_EQ(link.movements.size(), 1u);
    EXPECT_EQ(link.movements.count(4), 1u);
    ASSERT_EQ(link.lanes.at(1).movements.size(), 1u);
    EXPECT_EQ(link.lanes.at(1).movements.count(6), 1u);
    EXPECT_EQ(owner.nodes.at(4).links.size(), 2u);  // its links come from 1004 and 2004
}

TEST(LMNodeListMng, DeSerializeDecodesAReceivedList)
{
    LMNodeListMng mng(true);
    std::vector<char> wire = hexBytes("ee ee ee");
    ASSERT_GT(LMMessageWriter::writeNodeList({sampleNode(7), sampleNode(-3)}, &wire), 0);

    mng.nodes[100] = sampleNode(100);
    int pos = 3;
    int negative = -1;
    EXPECT_EQ(mng.DeSerialize(wire.data(), &negative, 10), -1);
    EXPECT_EQ(mng.DeSerialize(nullptr, &pos, 10), -1);
    EXPECT_EQ(mng.DeSerialize(wire.data(), nullptr, 10), -1);
    EXPECT_EQ(mng.DeSerialize(wire.data(), &pos, -1), -1);
    EXPECT_EQ(pos, 3);
    EXPECT_EQ(mng.nodes.count(100), 1u);  // untouched on bad arguments

    EXPECT_EQ(mng.DeSerialize(wire.data(), &pos, 0), (int)wire.size() - 3);
    EXPECT_EQ(pos, (int)wire.size());
    ASSERT_EQ(mng.nodes.size(), 2u);
    EXPECT_EQ(flatOf(mng.nodes.at(7)), flatOf(sampleNode(7)));
    EXPECT_EQ(flatOf(mng.nodes.at(-3)), flatOf(sampleNode(-3)));
}

TEST(LMNodeListMng, BrokenNodeRecordKeepsTheNodesBeforeIt)
{
    LMNodeListMng mng(true);
    std::vector<char> wire;
    ASSERT_GT(LMMessageWriter::writeNodeList({sampleNode(1), sampleNode(2)}, &wire), 0);
    wire[6 + wireSize(LMMessageWriter::writeNode, sampleNode(1)) + 2 + 2 + 26] = 65;  // second node's name length

    mng.nodes[100] = sampleNode(100);
    int pos = 0;
    EXPECT_EQ(mng.DeSerialize(wire.data(), &pos, (int)wire.size()), -2);
    EXPECT_EQ(pos, 0);
    ASSERT_EQ(mng.nodes.size(), 1u);
    EXPECT_EQ(mng.nodes.count(1), 1u);
}
