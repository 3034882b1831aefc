#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "LocalMapTestUtil.h"
#include "SampleSignal.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "shm/TimeTool.h"

namespace {

using LightMap = std::map<int64_t, LMTrafficLightExtend>;
constexpr int SIZE = LMTLListMng::SHM_SIZE;

LMTrafficLightExtend lightWith(int64_t id, uint8_t phase, double age = 0.0)
{
    LMTrafficLightExtend light = SampleSignal::lights()[0];
    light.id = id;
    light.phases.clear();
    light.phases[phase].phaseID = phase;
    light.latestRefreshTime = TimeTool::getPreciseTimeNow() - age;
    return light;
}

LMRSIExtend rsiOf(const char* source, int16_t infoID, const char* text, double age = 0.0)
{
    LMRSIExtend rsi = SampleSignal::rsiRecords()[0];
    memset(rsi.sourceID, 0, sizeof rsi.sourceID);
    memcpy(rsi.sourceID, source, strnlen(source, sizeof rsi.sourceID));
    rsi.infoID = infoID;
    memset(rsi.text, 0, sizeof rsi.text);
    strcpy(rsi.text, text);
    rsi.latestRefreshTime = TimeTool::getPreciseTimeNow() - age;
    return rsi;
}

// The lights in segment order, as (id, phases), and the zeros after them.
std::vector<std::pair<int64_t, std::vector<int>>> lightsInSegment(IF_SHM& mng)
{
    std::vector<char> image(SIZE);
    mng.updateFromSHM(image.data(), SIZE);
    std::vector<std::pair<int64_t, std::vector<int>>> out;
    int32_t count = 0;
    memcpy(&count, image.data(), 4);
    int pos = 4;
    LMTrafficLightExtend light;
    while ((int)out.size() < count && light.buffer2Obj(image.data(), &pos, SIZE) > 0) {
        std::vector<int> phases;
        for (const auto& p : light.phases) {
            phases.push_back(p.first);
        }
        out.push_back({+light.id, phases});
    }
    EXPECT_EQ(std::count(image.begin() + pos, image.end(), 0), SIZE - pos) << "zeros after the list";
    return out;
}

std::vector<std::string> rsiTexts(const std::vector<LMRSIExtend>& records)
{
    std::vector<std::string> out;
    for (const LMRSIExtend& r : records) {
        out.push_back(std::string(r.sourceID) + "/" + std::to_string(+r.infoID) + ":" + r.text);
    }
    return out;
}

// A light image written by hand, its phases as {phaseID, phaseAttr, states}
// in the order given (keys out of order or twice, as another writer may
// leave them). A state is light code * 10 + a mark kept as its startTime,
// which tells duplicates apart.
struct ForgedPhase {
    uint8_t id;
    uint8_t attr;
    std::vector<int> states;
};

std::vector<char> forgedLight(const std::vector<ForgedPhase>& phases)
{
    LMTrafficLightBase base;
    base.id = 5;
    base.latestRefreshTime = TimeTool::getPreciseTimeNow();
    std::vector<char> out = imageOf(base);
    auto put = [&out](const std::vector<char>& bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); };
    put(imageOf((uint32_t)phases.size()));
    for (const ForgedPhase& f : phases) {
        LMPhaseBase phase;
        phase.phaseID = f.id;
        phase.phaseAttr = f.attr;
        put(imageOf(phase));
        put(imageOf((uint32_t)f.states.size()));
        for (int s : f.states) {
            LMPhaseStateBase state;
            state.light = (uint8_t)(s / 10);
            state.startTime = (float)(s % 10);
            put(imageOf(state));
        }
    }
    return out;
}

}  // namespace

TEST(LMTLListMng, ReceivedLightsReplaceStoredOnesAndGoBehindTheOthers)
{
    LMTLListMng mng(true);
    LightMap first = {{3, lightWith(3, 1)}, {1, lightWith(1, 1)}, {2, lightWith(2, 1)}};
    ASSERT_EQ(mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &first), 1);
    LightMap again = {{2, lightWith(2, 7)}, {0, lightWith(0, 1)}};
    ASSERT_EQ(mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &again), 1);
    using Row = std::pair<int64_t, std::vector<int>>;
    EXPECT_EQ(lightsInSegment(mng), (std::vector<Row>{{1, {1}}, {3, {1}}, {0, {1}}, {2, {7}}}))
        << "kept lights by key, then the received ones by key; light 2's old phase is gone";
    // The next insert sorts the stored lights again.
    LightMap none;
    ASSERT_EQ(mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &none), 1);
    EXPECT_EQ(lightsInSegment(mng), (std::vector<Row>{{0, {1}}, {1, {1}}, {2, {7}}, {3, {1}}}));
    ASSERT_EQ(mng.update(), 1);
    EXPECT_EQ(mng.lights.size(), 4u);
    EXPECT_LT(mng.lights.at(2).getPreciseTimeDiff(), 5.0) << "stamped on insert";
    // A shorter list committed after that read leaves zeros after it.
    mng.lights.erase(3);
    ASSERT_EQ(mng.commit(), 1);
    EXPECT_EQ(lightsInSegment(mng).size(), 3u);
    // Neighbours kept behind a received light move to the front together.
    LightMap front = {{0, lightWith(0, 5)}};
    ASSERT_EQ(mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &front), 1);
    EXPECT_EQ(lightsInSegment(mng), (std::vector<Row>{{1, {1}}, {2, {7}}, {0, {5}}}));
}

TEST(LMTLListMng, KeptLightsLeaveInTheFormTheirDecodedLightFlattensTo)
{
    using P = std::vector<ForgedPhase>;
    struct Case {
        const char* what;
        P stored;
        P expected;  // what Obj2Buff writes for the decoded light
    };
    std::vector<Case> cases = {
        {"already normal: kept byte for byte", P{{1, 0, {20, 30}}, {4, 1, {}}}, P{{1, 0, {20, 30}}, {4, 1, {}}}},
        {"phases out of order", P{{4, 1, {50}}, {1, 0, {20, 30}}}, P{{1, 0, {20, 30}}, {4, 1, {50}}}},
        {"a phase id twice: the later wins", P{{2, 1, {10}}, {3, 2, {}}, {2, 3, {40, 60}}},
         P{{2, 3, {40, 60}}, {3, 2, {}}}},
        {"states out of order", P{{1, 0, {31, 22}}}, P{{1, 0, {22, 31}}}},
        {"a light code twice: the later wins", P{{1, 0, {71, 72, 33}}}, P{{1, 0, {33, 72}}}},
    };
    LMTLListMng mng(true);
    // Light 7 stored behind light 5 (moved in place) or ahead of it (gathered
    // first), and kept behind it either way.
    const std::vector<char> seven = flatOf(lightWith(7, 2));
    for (const Case& c : cases) {
        for (int run = 0; run < 4; ++run) {
            bool insert = run < 2;
            std::vector<char> image = {2, 0, 0, 0};
            std::vector<char> stored = forgedLight(c.stored);
            image.insert(image.end(), seven.begin(), seven.end());
            image.insert(run % 2 == 0 ? image.end() : image.begin() + 4, stored.begin(), stored.end());
            image.resize(SIZE);
            ASSERT_EQ(mng.commit2SHM(image.data(), SIZE), 1);
            std::vector<char> expected = forgedLight(c.expected);
            memcpy(expected.data(), stored.data(), sizeof(LMTrafficLightBase));  // same stamp
            expected.insert(expected.end(), seven.begin(), seven.end());
            LightMap incoming = {{9, lightWith(9, 1)}};
            ASSERT_EQ(insert ? mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &incoming)
                             : mng.operateSHMNotSafe(LMTLListMng::refreshList, nullptr),
                      1);
            if (insert) {
                std::vector<char> in = flatOf(incoming.at(9));
                expected.insert(expected.end(), in.begin(), in.end());
            }
            mng.updateFromSHM(image.data(), SIZE);
            EXPECT_EQ(+image[0], insert ? 3 : 2) << c.what;
            expected.resize(SIZE - 4);  // zeros after the list
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), image.begin() + 4)) << c.what << run;
        }
    }
}

TEST(LMTLListMng, ReceivedLightsFillingTheSegmentToTheByteFitAndOneStateMoreDoesNot)
{
    // Light 0 stays; `small` lights of one empty phase (31 bytes each) and a
    // large one filling the rest to the byte are received, then one state more.
    LMTLListMng mng(true);
    for (int run = 0; run < 4; ++run) {
        int small = run / 2 * 200;
        mng.lights = {{0, lightWith(0, 1)}};
        LightMap incoming;
        for (int id = 1; id <= small; ++id) {
            incoming[id] = lightWith(id, 1);
        }
        int rest = SIZE - 4 - mng.lights[0].flatSize() - small * 31 - 25;  // the large light's phases
        int phases = 160;
        while ((rest - 6 * phases) % 26 != 0) {
            ++phases;
        }
        LMTrafficLightExtend& large = incoming[1000] = lightWith(1000, 0);
        for (int state = 0; state < (rest - 6 * phases) / 26 + run % 2; ++state) {
            large.phases[(uint8_t)(state % phases)].phaseStates[(uint8_t)(state / phases)];
        }
        std::vector<char> before(SIZE), after(SIZE);
        ASSERT_TRUE(mng.commit() == 1 && mng.updateFromSHM(before.data(), SIZE) == 1);
        EXPECT_EQ(mng.operateSHMNotSafe(LMTLListMng::insertUpdateList, &incoming), run % 2 == 0 ? 1 : -1) << run;
        mng.updateFromSHM(after.data(), SIZE);
        if (run % 2 == 0) {  // light 0 then the received ones by key, as a commit of them all writes
            mng.lights.insert(incoming.begin(), incoming.end());
            ASSERT_TRUE(mng.commit() == 1 && mng.updateFromSHM(before.data(), SIZE) == 1);
        }
        EXPECT_TRUE(after == before) << run;
    }
}

TEST(LMSignalLists, AgeingKeepsWhatIsTenSecondsOldAndDropsOlder)
{
    LMTLListMng lights(true);
    lights.lights = {{1, lightWith(1, 1, 9.9)}, {2, lightWith(2, 1, 10.1)}, {3, lightWith(3, 1, 0.0)}};
    ASSERT_EQ(lights.commit(), 1);
    ASSERT_EQ(lights.operateSHMNotSafe(LMTLListMng::refreshList, nullptr), 1);
    using Row = std::pair<int64_t, std::vector<int>>;
    EXPECT_EQ(lightsInSegment(lights), (std::vector<Row>{{1, {1}}, {3, {1}}}));
    // A light stored twice (a segment written by hand) keeps its later image.
    std::vector<char> twice = {2, 0, 0, 0};
    for (int phase : {1, 4}) {
        std::vector<char> light = flatOf(lightWith(5, (uint8_t)phase));
        twice.insert(twice.end(), light.begin(), light.end());
    }
    twice.resize(SIZE);
    ASSERT_TRUE(lights.commit2SHM(twice.data(), SIZE) == 1
                && lights.operateSHMNotSafe(LMTLListMng::refreshList, nullptr) == 1);
    EXPECT_EQ(lightsInSegment(lights), (std::vector<Row>{{5, {4}}}));

    LMRSIListMng rsi(true);
    rsi.records = {rsiOf("a", 1, "old", 10.1), rsiOf("a", 2, "z", 9.9), rsiOf("b", 1, "y", 0.0),
                   rsiOf("c", 1, "older", 60.0), rsiOf("a", 0, "x", 0.0)};
    ASSERT_EQ(rsi.commit(), 1);
    ASSERT_EQ(rsi.operateSHMNotSafe(LMRSIListMng::refreshList, nullptr), 1);
    ASSERT_EQ(rsi.update(), 1);
    EXPECT_EQ(rsiTexts(rsi.records), (std::vector<std::string>{"a/2:z", "b/1:y", "a/0:x"})) << "order kept";
}

TEST(LMRSIListMng, RecordsMatchBySourceAndInfoIdAndKeepTheirPlace)
{
    LMRSIListMng mng(true);
    mng.records = {rsiOf("east", 1, "one", 5.0), rsiOf("east", 2, "two", 5.0), rsiOf("east", 1, "dup", 5.0)};
    ASSERT_EQ(mng.commit(), 1);

    struct Case {
        const char* what;
        std::vector<LMRSIExtend> incoming;  // one record through insertUpdateList, several through Multi
        bool multi;
        std::vector<std::string> after;
    };
    std::vector<Case> cases = {
        {"same source, same id: updated in place, the later duplicate untouched",
         {rsiOf("east", 1, "ONE")}, false, {"east/1:ONE", "east/2:two", "east/1:dup"}},
        {"same source, other id: appended", {rsiOf("east", 3, "three")}, false,
         {"east/1:ONE", "east/2:two", "east/1:dup", "east/3:three"}},
        {"other source, same id: appended", {rsiOf("west", 2, "w")}, false,
         {"east/1:ONE", "east/2:two", "east/1:dup", "east/3:three", "west/2:w"}},
        {"two equal incoming, one stored match: first updates, second appended",
         {rsiOf("east", 2, "TWO"), rsiOf("east", 2, "TWO again")}, true,
         {"east/1:ONE", "east/2:TWO", "east/1:dup", "east/3:three", "west/2:w", "east/2:TWO again"}},
    };
    for (Case& c : cases) {
        int rc = c.multi ? mng.operateSHMNotSafe(LMRSIListMng::insertUpdateListMulti, &c.incoming)
                         : mng.operateSHMNotSafe(LMRSIListMng::insertUpdateList, &c.incoming[0]);
        ASSERT_TRUE(rc == 1 && mng.update() == 1) << c.what;
        EXPECT_EQ(rsiTexts(mng.records), c.after) << c.what;
    }
    EXPECT_EQ(mng.operateSHMNotSafe(LMRSIListMng::insertUpdateList, nullptr), 1) << "a null record only rewrites";
    ASSERT_TRUE(mng.update() == 1 && mng.records.size() == 6u);
    EXPECT_LT(mng.records[1].getPreciseTimeDiff(), 5.0) << "an updated record is stamped";
    EXPECT_GT(mng.records[2].getPreciseTimeDiff(), 4.0) << "an untouched duplicate keeps its stamp";

    LMRSIExtend a = rsiOf(std::string(16, 's').c_str(), 1, "a");  // no terminator in its field
    EXPECT_TRUE(LMRSIListMng::sameInfo(a, rsiOf(std::string(16, 's').c_str(), 1, "b")));
}

TEST(LMSignalLists, ListsLargerThanTheSegmentAreRefusedUnchanged)
{
    LMRSIListMng mng(true);
    mng.records.assign(3, rsiOf("s", 1, "t"));
    ASSERT_EQ(mng.commit(), 1);
    std::vector<LMRSIExtend> huge(1, rsiOf("s", 9, "big"));
    huge[0].points.resize(SIZE / 34);
    std::vector<char> before(SIZE), after(SIZE);
    mng.updateFromSHM(before.data(), SIZE);
    EXPECT_EQ(mng.operateSHMNotSafe(LMRSIListMng::insertUpdateListMulti, &huge), -1);
    mng.updateFromSHM(after.data(), SIZE);
    EXPECT_TRUE(before == after);
    std::vector<LMRSIExtend> kept = mng.records;
    mng.records = huge;
    EXPECT_EQ(mng.commit(), -1);

    // A count beyond what the segment holds reads the zeros after the list
    // as records until one would run past the segment: -1 there, no read beyond.
    int32_t forged = INT32_MAX;
    memcpy(after.data(), &forged, 4);
    ASSERT_EQ(mng.commit2SHM(after.data(), SIZE), 1);
    EXPECT_EQ(mng.update(), -1);
    EXPECT_EQ(rsiTexts({mng.records[0]}), rsiTexts({kept[0]}));
}

TEST(LMSignalResults, CommitStoresAtMostCapacityAndUpdateBoundsTheCount)
{
    LMTLPhaseResMng phases(true);
    LMRSIResMng rsi(true);
    for (int given : {0, 3, 20, 40}) {
        phases.phaseResults.assign(given, LMTLPhaseRes());
        rsi.rsiResults.assign(given, LMRSIRes());
        for (int i = 0; i < given; ++i) {
            phases.phaseResults[i].valueInt = i;
            rsi.rsiResults[i].valueByte1 = (uint8_t)i;
        }
        ASSERT_TRUE(phases.commit() == 1 && rsi.commit() == 1 && phases.update() == 1 && rsi.update() == 1);
        ASSERT_EQ((int)phases.phaseResults.size(), std::min(given, 16)) << given;
        ASSERT_EQ((int)rsi.rsiResults.size(), std::min(given, 32)) << given;
        for (int i = 0; i < std::min(given, 32); ++i) {  // the first ones, in order
            EXPECT_EQ(rsi.rsiResults[i].valueByte1, i);
            EXPECT_TRUE(i >= 16 || phases.phaseResults[i].valueInt == i) << i;
        }
    }
    // A writer that died halfway may leave any count: read as 0 to capacity.
    for (int32_t count : {-5, 17, 1000000}) {
        LMTLPhaseListInShm phaseList;
        LMRSIListInShm rsiList;
        phaseList.count = rsiList.count = count;
        ASSERT_TRUE(phases.commit2SHM(&phaseList, sizeof phaseList) == 1 && rsi.commit2SHM(&rsiList, sizeof rsiList) == 1);
        ASSERT_TRUE(phases.update() == 1 && rsi.update() == 1);
        EXPECT_EQ((int)phases.phaseResults.size(), count < 0 ? 0 : 16) << count;
        EXPECT_EQ((int)rsi.rsiResults.size(), count < 0 ? 0 : std::min(count, 32)) << count;
    }
}
