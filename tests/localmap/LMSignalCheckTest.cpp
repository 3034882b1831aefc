#include "localmap/LMSignalCheck.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "LMMessageWriter.h"
#include "LocalMapTestUtil.h"
#include "SampleSignal.h"
#include "codec/SerializeTool.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

namespace {

std::vector<char> fileBytes(const char* path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

std::vector<char> lightMessage(const std::vector<LMTrafficLightExtend>& lights)
{
    std::vector<char> out;
    EXPECT_GT(LMMessageWriter::writeTLList(lights, &out), 0);
    return out;
}

std::vector<char> rsiMessage(const std::vector<LMRSIExtend>& records)
{
    std::vector<char> out;
    EXPECT_GT(LMMessageWriter::writeRSIList(records, &out), 0);
    return out;
}

std::vector<std::vector<char>> imagesOfLights(const std::map<int64_t, LMTrafficLightExtend>& lights)
{
    std::vector<std::vector<char>> out;
    for (const auto& e : lights) {
        out.push_back(flatOf(e.second));
    }
    return out;
}

std::vector<std::vector<char>> imagesOfRecords(const std::vector<LMRSIExtend>& records)
{
    std::vector<std::vector<char>> out;
    for (const auto& r : records) {
        out.push_back(flatOf(r));
    }
    return out;
}

// Both lists' decoders behind one face, with a marker copy in use.
struct LightSide {
    LMTLListMng mng{true};
    static int check(const char* b, int p, int n, int* at) { return LMSignalCheck::checkTLList(b, p, n, at); }
    int checked(const char* b, int* p, int n) { return LMSignalCheck::DeSerializeChecked(&mng, b, p, n); }
    int trusted(const char* b, int* p, int n) { return mng.DeSerialize(b, p, n); }
    void mark() { mng.lights = {{-7, SampleSignal::lights()[1]}}; }
    std::vector<std::vector<char>> images() const { return imagesOfLights(mng.lights); }
};

struct RsiSide {
    LMRSIListMng mng{true};
    static int check(const char* b, int p, int n, int* at) { return LMSignalCheck::checkRSIList(b, p, n, at); }
    int checked(const char* b, int* p, int n) { return LMSignalCheck::DeSerializeChecked(&mng, b, p, n); }
    int trusted(const char* b, int* p, int n) { return mng.DeSerialize(b, p, n); }
    void mark() { mng.records = {SampleSignal::rsiRecords()[2]}; }
    std::vector<std::vector<char>> images() const { return imagesOfRecords(mng.records); }
};

// A whole message decodes exactly as the trusted decoder does; every shorter
// prefix, fenced so that a read past it faults, is refused with the cursor
// and the copy in use untouched.
template <typename Side>
void expectOnlyWholeMessageAccepted(const std::vector<char>& message, const std::string& what)
{
    Side side;
    int size = (int)message.size();
    int pos = 0;
    ASSERT_EQ(side.trusted(message.data(), &pos, size), size) << what;
    std::vector<std::vector<char>> want = side.images();
    side.mark();
    pos = 0;
    ASSERT_EQ(side.checked(message.data(), &pos, size), size) << what;
    EXPECT_EQ(pos, size);
    EXPECT_EQ(side.images(), want) << what;
    for (int n = 0; n < size; ++n) {
        FencedBytes cut(message, n);
        side.mark();
        std::vector<std::vector<char>> marker = side.images();
        int at = -1;
        int code = Side::check(cut.data(), 0, n, &at);
        pos = 0;
        ASSERT_EQ(code, LMSignalCheck::TRUNCATED) << what << " cut to " << n;
        EXPECT_TRUE(at >= 0 && at <= n) << what << " cut to " << n << ": fault at " << at;
        ASSERT_EQ(side.checked(cut.data(), &pos, n), code) << what << " cut to " << n;
        EXPECT_EQ(pos, 0);
        EXPECT_EQ(side.images(), marker) << what << " cut to " << n;
    }
}

}  // namespace

TEST(LMSignalCheck, WholeListsDecodeAsTrustedAndEveryPrefixIsRefused)
{
    std::vector<LMTrafficLightExtend> lights = SampleSignal::lights();
    LMTrafficLightExtend bare;
    bare.id = 5;
    expectOnlyWholeMessageAccepted<LightSide>(fileBytes(V2XSHM_SAMPLE_SIGNAL), "sample light file");
    expectOnlyWholeMessageAccepted<LightSide>(lightMessage({}), "no lights");
    expectOnlyWholeMessageAccepted<LightSide>(lightMessage({bare, lights[0], bare}), "repeated light id");

    std::vector<LMRSIExtend> records = SampleSignal::rsiRecords();
    LMRSIExtend noPoints;
    expectOnlyWholeMessageAccepted<RsiSide>(fileBytes(V2XSHM_SAMPLE_RSI), "sample RSI file");
    expectOnlyWholeMessageAccepted<RsiSide>(rsiMessage({noPoints, records[0], noPoints}), "repeated RSI");
}

TEST(LMSignalCheck, SampleFilesAreWhatTheGeneratorWrites)
{
    std::vector<char> lights;
    std::vector<char> rsi;
    ASSERT_GT(SampleSignal::writeLights(&lights), 0);
    ASSERT_GT(SampleSignal::writeRSI(&rsi), 0);
    EXPECT_TRUE(fileBytes(V2XSHM_SAMPLE_SIGNAL) == lights);
    EXPECT_TRUE(fileBytes(V2XSHM_SAMPLE_RSI) == rsi);
}

TEST(LMSignalCheck, DuplicateKeysInAReceivedListLeaveTheLaterRecord)
{
    LMTrafficLightExtend first = SampleSignal::lights()[0];
    LMTrafficLightExtend second = first;
    second.phases.erase(1);
    second.phases.at(2).phaseStates.erase(SampleSignal::LIGHT_RED);
    LightSide side;
    std::vector<char> message = lightMessage({first, second});
    int pos = 0;
    ASSERT_EQ(side.checked(message.data(), &pos, (int)message.size()), (int)message.size());
    ASSERT_EQ(side.mng.lights.size(), 1u);
    EXPECT_EQ(flatOf(side.mng.lights.begin()->second), flatOf(second));

    RsiSide rsi;  // the RSI list keeps every record, in stream order
    message = rsiMessage({SampleSignal::rsiRecords()[0], SampleSignal::rsiRecords()[0]});
    pos = 0;
    ASSERT_GT(rsi.checked(message.data(), &pos, (int)message.size()), 0);
    EXPECT_EQ(rsi.mng.records.size(), 2u);
}

TEST(LMSignalCheck, ForgedFieldsAreRefusedWhereTheyStand)
{
    // One light with one phase of one state: list count at 2, light length
    // at 6, its base's at 8, phase count at 23, phase length at 27, its
    // base's at 29, state count at 33, state length at 37.
    LMTrafficLightExtend light;
    light.phases[1].phaseID = 1;
    light.phases[1].phaseStates[3].light = 3;
    const std::vector<char> message = lightMessage({light});
    ASSERT_EQ(message.size(), 65u);
    struct Case {
        int at;
        bool isCount;
        int value;
        int code;
    };
    for (Case c : {Case{6, false, -1, LMSignalCheck::MALFORMED}, Case{8, false, -32768, LMSignalCheck::MALFORMED},
                   Case{27, false, -2, LMSignalCheck::MALFORMED}, Case{37, false, -1, LMSignalCheck::MALFORMED},
                   Case{2, true, 4, LMSignalCheck::TRUNCATED}, Case{23, true, 0x7fffffff, LMSignalCheck::TRUNCATED},
                   Case{33, true, 2, LMSignalCheck::TRUNCATED}}) {
        std::vector<char> forged = message;
        int at = c.at;
        if (c.isCount) {
            SerializeTool::Int2Byte(forged.data(), &at, c.value);
        } else {
            SerializeTool::Short2Byte(forged.data(), &at, (short)c.value);
        }
        int faultAt = -1;
        EXPECT_EQ(LMSignalCheck::checkTLList(forged.data(), 0, (int)forged.size(), &faultAt), c.code) << c.at;
        EXPECT_EQ(faultAt, c.at);
    }
    // A negative count announces nothing, as the decoder reads it.
    std::vector<char> negative = message;
    int at = 2;
    SerializeTool::Int2Byte(negative.data(), &at, -3);
    EXPECT_EQ(LMSignalCheck::checkTLList(negative.data(), 0, (int)negative.size()), 6);
    EXPECT_EQ(LMSignalCheck::checkRSIList(nullptr, 0, 10), LMSignalCheck::BAD_ARGS);
    EXPECT_EQ(LMSignalCheck::checkRSIList(message.data(), 1, INT32_MAX), LMSignalCheck::BAD_ARGS);
    EXPECT_EQ(LMSignalCheck::DeSerializeChecked((LMTLListMng*)nullptr, message.data(), &at, 65),
              LMSignalCheck::BAD_ARGS);
}
