#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "v2xshm-unit/LMMessageWriter.h"
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

// Node ids in the order they stand in the segment, which holds zeros after them.
std::vector<int64_t> idsInSegment(LMNodeListMng& mng)
{
    std::vector<char> image = segmentOf(mng);
    std::vector<int64_t> ids;
    LMNodeExtend node;
    int pos = 4;
    while ((int)ids.size() < *reinterpret_cast<int32_t*>(image.data()) && node.buffer2Obj(image.data(), &pos, SIZE) > 0) {
        ids.push_back(+node.nodeId);
    }
    EXPECT_EQ(std::count(image.begin() + pos, image.end(), 0), SIZE - pos);
    return ids;
}

LMNodeExtend stampedNode(int64_t id, double age)
{
    LMNodeExtend node = sampleNode(id);
    node.latestRefreshTime = TimeTool::getPreciseTimeNow() - age;
    for (auto& link : node.links) {
        link.second.calcPointsDis2End();
    }
    return node;
}

int writeSegment(void* shm, void* arg)
{
    memcpy(shm, static_cast<std::vector<char>*>(arg)->data(), SIZE);
    return 1;
}

}  // namespace

TEST(LMNodeListMng, UpdateRefillsTheLocalMapAsAFreshDecodeWould)
{
    // One manager throughout, so that each update refills records left by the
    // image before: more or fewer nodes, links and lanes; node 3 twice, the
    // later one winning; the last image's third node cut off by the segment.
    LMNodeExtend fewer = sampleNode(2);
    fewer.links.erase(1002);
    fewer.links[2002].lanes[9].laneID = 9;
    LMNodeExtend renamed = sampleNode(3);
    renamed.name[0] = 'X';
    renamed.links.erase(1003);
    LMNodeExtend cut = sampleNode(5);
    cut.links[1005].points.resize(SIZE / 34);
    const std::vector<std::vector<LMNodeExtend>> images = {{sampleNode(1), sampleNode(2), sampleNode(3)},
                                                           {sampleNode(3), renamed, fewer, sampleNode(7)},
                                                           {sampleNode(4), fewer},
                                                           {},
                                                           {sampleNode(1), fewer, cut}};
    LMNodeListMng mng(true);
    for (const auto& nodes : images) {
        std::vector<char> image(4);
        int32_t count = (int32_t)nodes.size();
        memcpy(image.data(), &count, 4);
        for (const LMNodeExtend& node : nodes) {
            std::vector<char> flat = flatOf(node);
            image.insert(image.end(), flat.begin(), flat.end());
        }
        image.resize(SIZE, 0);
        ASSERT_EQ(mng.operateSHMNotSafe(writeSegment, &image), 1);
        LMNodeListMng fresh(false);
        int code = fresh.update();
        EXPECT_EQ(code, &nodes == &images.back() ? -1 : 1);
        EXPECT_EQ(mng.update(), code) << count << " nodes";
        EXPECT_EQ(imagesOf(mng.nodes), imagesOf(fresh.nodes)) << count << " nodes";
    }
}

TEST(LMNodeListMng, NothingLargerThanTheSegmentIsWrittenOrRead)
{
    LMNodeListMng owner(true);
    owner.nodes[1] = sampleNode(1);
    EXPECT_EQ(owner.update(), 1);  // a new segment holds no nodes
    EXPECT_TRUE(owner.nodes.empty());
    owner.nodes[1] = sampleNode(1);
    ASSERT_EQ(owner.commit(), 1);
    const std::vector<char> committed = segmentOf(owner);
    LMNodeExtend oversized;  // its image alone exceeds the segment
    oversized.nodeId = 2;
    oversized.links[1].points.resize(SIZE / 34 + 1);
    NodeMap incoming = {{2, oversized}};
    EXPECT_EQ(owner.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &incoming), -1);
    owner.nodes[2] = oversized;
    EXPECT_EQ(owner.commit(), -1);
    EXPECT_EQ(segmentOf(owner), committed);

    // A segment left by a writer that died halfway: its count or a link
    // count beyond what the segment holds.
    struct Case {
        int at;
        uint32_t value;
        int result;
        size_t nodes;  // decoded before the failure
    } cases[] = {{0, 0xffffffffu, 1, 0}, {0, INT_MAX, -1, 2}, {4 + 106, 0x7fffffffu, -1, 0}};
    owner.nodes.erase(2);
    for (Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.value << " at " << c.at);
        ASSERT_EQ(owner.commit(), 1);
        auto patch = [](void* shm, void* arg) {
            const Case* c = static_cast<const Case*>(arg);
            memcpy(static_cast<char*>(shm) + c->at, &c->value, 4);
            return 1;
        };
        owner.operateSHMNotSafe(patch, &c);
        const std::vector<char> before = segmentOf(owner);
        LMNodeListMng reader(false);
        EXPECT_EQ(reader.update(), c.result);
        EXPECT_EQ(reader.nodes.size(), c.nodes);
        if (c.result < 0) {
            NodeMap some = {{5, sampleNode(5)}};
            EXPECT_EQ(reader.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &some), -1);
            EXPECT_EQ(reader.operateSHMNotSafe(LMNodeListMng::refreshList, nullptr), -1);
            EXPECT_EQ(segmentOf(owner), before);
        }
    }
}

TEST(LMNodeListMng, RefreshDropsStaleNodesAndInsertFromAnotherProcessMergesAndAppends)
{
    LMNodeListMng owner(true);
    const LMNodeExtend expected = stampedNode(9, 9.9);
    owner.nodes[9] = expected;
    owner.nodes[9].links[2].upstreamNodeId = 2;  // from a stale node: goes
    owner.nodes[9].links[1009].movements[2] = movement(2);
    owner.nodes[9].links[1009].lanes[1].movements[3] = movement(3);
    owner.nodes[2] = stampedNode(2, 10.1);
    owner.nodes[3] = stampedNode(3, 10.1);
    owner.nodes[5] = stampedNode(5, 5.0);
    owner.nodes[5].links.erase(2005);
    owner.nodes[5].links[4].upstreamNodeId = 4;
    ASSERT_EQ(owner.commit(), 1);
    ASSERT_EQ(owner.operateSHMNotSafe(LMNodeListMng::refreshList, nullptr), 1);
    EXPECT_EQ(idsInSegment(owner), (std::vector<int64_t>{5, 9}));
    const NodeMap kept = {{5, owner.nodes[5]}, {9, expected}};  // only the traces of 2 and 3 gone
    pid_t child = forkChild([&] {
        LMNodeListMng reader(false);
        return reader.update() == 1 && imagesOf(reader.nodes) == imagesOf(kept) ? 0 : 1;
    });
    ASSERT_EQ(waitChild(child), 0);

    child = forkChild([] {
        LMNodeListMng writer(false);
        NodeMap incoming = {{1, sampleNode(1)}, {5, sampleNode(5)}};  // 1 new and unstamped, 5 stored
        incoming[5].name[0] = 'R';
        incoming[5].links.erase(1005);
        if (writer.operateSHMNotSafe(LMNodeListMng::insertUpdateList, &incoming) != 1) {
            return 1;
        }
        // What stays in incoming is what was new, stamped there.
        return incoming.size() == 1 && !incoming[1].isPreciseOverTime(1.0) ? 0 : 2;
    });
    ASSERT_EQ(waitChild(child), 0);
    EXPECT_EQ(idsInSegment(owner), (std::vector<int64_t>{1, 5, 9}));
    ASSERT_EQ(owner.update(), 1);
    const LMNodeExtend& merged = owner.nodes.at(5);
    EXPECT_EQ(merged.name[0], 'R');
    EXPECT_FALSE(merged.isPreciseOverTime(1.0));  // restamped
    EXPECT_EQ(merged.links.size(), 3u);           // from 4, 1005 and 2005
    EXPECT_EQ(flatOf(owner.nodes.at(9)), flatOf(expected));  // not received: stamp kept
    EXPECT_FALSE(owner.nodes.at(1).isPreciseOverTime(1.0));
}

TEST(LMNodeListMng, DeSerializeGivesTheNodesSentOrKeepsThoseBeforeABrokenOne)
{
    LMNodeListMng mng(true);
    std::vector<char> wire = hexBytes("ee ee ee");
    ASSERT_GT(LMMessageWriter::writeNodeList({sampleNode(7), sampleNode(-3), LMNodeExtend()}, &wire), 0);
    mng.nodes[100] = sampleNode(100);
    int pos = 3;
    EXPECT_EQ(mng.DeSerialize(nullptr, &pos, 10), -1);
    EXPECT_EQ(mng.nodes.count(100), 1u);  // untouched on bad arguments
    EXPECT_EQ(mng.DeSerialize(wire.data(), &pos, 0), (int)wire.size() - 3);
    EXPECT_EQ(pos, (int)wire.size());
    EXPECT_EQ(imagesOf(mng.nodes), imagesOf({{-3, sampleNode(-3)}, {0, LMNodeExtend()}, {7, sampleNode(7)}}));

    std::vector<char> first;
    LMMessageWriter::writeNode(sampleNode(7), &first);
    wire[3 + 6 + first.size() + 2 + 2 + 26] = 65;  // the second node's name length
    pos = 3;
    EXPECT_EQ(mng.DeSerialize(wire.data(), &pos, 0), -2);
    EXPECT_EQ(pos, 3);
    EXPECT_EQ(imagesOf(mng.nodes), imagesOf({{7, sampleNode(7)}}));
}
