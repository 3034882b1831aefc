#include "v2xshm-unit/FixPush.h"
#include "v2xshm-unit/FrameWalk.h"
#include "v2xshm-unit/TargetBuild.h"

#include <cmath>
#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "ptc/TargetMng.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"

// Own fix heading north; ptcs and rsus ahead, the obu behind; the last rsu beyond capacity.
TEST(TargetBuild, ParticipantsBecomeTargetsInListOrderUpToCapacity)
{
    auto placed = [](auto rec, double dLat) {  // dLat 0.0009: 100 m north
        rec.gnss.position.longitude = 120.12;
        rec.gnss.position.latitude = 30.0 + dLat;
        return rec;
    };
    TargetMng owner(77992, true), writer(77992, false);
    GNSS own = placed(RSU(), 0).gnss;
    own.latestRefreshTime = 1.7e9;
    std::vector<PTC> ptcs(62, placed(PTC(), 0.0009));
    std::vector<OBU> obus{placed(OBU(), -0.0009)};
    std::vector<RSU> rsus(2, placed(RSU(), 0.0009));
    ptcs[61].vehClass.classification = 5;
    obus[0].vehClass.classification = 7;
    const struct {
        size_t at;
        int type, cls;
        double angle;  // from the fix's heading: the motion is derived from it
    } want[] = {{61, TARGET_FROM_PTC, 5, 0.0}, {62, TARGET_FROM_OBU, 7, M_PI}, {63, TARGET_FROM_RSU, 0, 0.0}};
    ASSERT_EQ(TargetMng::CAPACITY, buildTargets(own, ptcs, obus, rsus, &writer));
    for (const auto& w : want) {
        const TargetBase& t = writer.targets[w.at];
        EXPECT_EQ(std::make_pair(w.type, w.cls), std::make_pair(+t.tgtType, +t.vehClass.classification)) << w.at;
        EXPECT_NEAR(w.angle, std::fabs(+t.angle), 1e-3) << w.at;
    }
    ASSERT_EQ(1, publishTargets(&writer));
    ASSERT_EQ(1, owner.update());
    EXPECT_EQ((size_t)TargetMng::CAPACITY, owner.targets.size());
    EXPECT_EQ((size_t)TargetMng::CAPACITY, writer.targets.size());  // cut to what was published
    EXPECT_EQ(-2, buildTargets(GNSS(), ptcs, obus, rsus, &writer));  // no fix stored yet
}

// One stream with every kind of finding, written kind offset+bytes (/expected check byte).
TEST(FrameWalk, EveryByteIsAccountedFor)
{
    const std::string hex = "0011fafb0102000210203100fafbfafb01020002102030fafb01020005";
    std::vector<char> bytes;
    for (size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back((char)std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    std::vector<FrameFinding> found;
    ASSERT_EQ(1, findFrames(bytes.data(), (int)bytes.size(), &found));
    std::string text;
    for (const FrameFinding& f : found) {
        text += std::string(text.empty() ? "" : " ") + "FBIS"[f.kind] + std::to_string(f.offset) + "+" +
                std::to_string(f.bytes) + (f.kind == FrameFinding::BAD_CHECK ? "/" + std::to_string(f.computed) : "");
    }
    EXPECT_EQ("S0+2 F2+9 S11+1 I12+17 S13+1 B14+9/49 S15+14", text);
}

TEST(FixPush, ChecksStoresAndTracesTheFix)
{
    const struct {
        FixReading r;
        FixFault fault;
    } cases[] = {
        {{180, -90, 0, 359.99, 59999.0, 0.0}, FIX_OK},           {{NAN, 0, 0, 0, {}, {}}, FIX_LONGITUDE},
        {{0, -90.5, -1, 0, {}, {}}, FIX_LATITUDE},               {{0, 0, 1e40, 0, {}, {}}, FIX_SPEED},
        {{0, 0, 1, 359.99999999, {}, {}}, FIX_HEADING},          {{0, 0, 1, 0, 1.5, {}}, FIX_TIME},
        {{0, 0, 1, 0, 60000.0, {}}, FIX_TIME},                   {{0, 0, 1, 0, {}, 1e39}, FIX_PRECISION},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.fault, checkFix(c.r)) << c.r.longitude << " " << c.r.latitude << " " << c.r.heading;
    }
    // Stored as a receiving process stores it, traced and read back; a refused reading writes nothing.
    DevGNSSMng gnssOwner(true), gnss(false);
    VehTraceMng traceOwner(true), trace(false);
    FixReading r{-120.5, -30.25, 10, 90, 59123.0, {}};
    GNSS stored;
    ASSERT_EQ(1, pushFix(r, &gnss, &trace, &stored));
    ASSERT_EQ(1, gnssOwner.update());
    const GNSS& g = gnssOwner.gnss;
    EXPECT_EQ("WS", (std::string{(char)g.position.lonHemisphere, (char)g.position.latHemisphere}));
    EXPECT_EQ(59123, g.time.second * 1000 + g.time.millisecond);
    EXPECT_NEAR(0.0, +g.motion.heading, 1e-9);  // east, counterclockwise from east
    EXPECT_EQ(0, memcmp(&g, &stored, sizeof g));  // the fix handed back is the one stored
    EXPECT_EQ(0, memcmp(&trace.trace.trace[trace.trace.index], &stored, sizeof stored));
    r.heading = 360.0;
    EXPECT_EQ(-1, pushFix(r, &gnss, &trace, &stored));
    ASSERT_EQ(1, traceOwner.update());
    EXPECT_EQ(1, +traceOwner.trace.count);  // copied out of the packed record
}
