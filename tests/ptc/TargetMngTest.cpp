// Targets built from participants around the own vehicle, and the target
// and collision lists published whole, as another process reads them.
#include <cmath>
#include <gtest/gtest.h>

#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "space/SpaceToolGeo.h"
#include "support/ByteImage.h"

namespace {

constexpr int TARGET_KEY = 77502;
constexpr double PI = 3.141592653589793;

// The own vehicle at 120.12 E, 30 N heading north.
GNSS ownFix()
{
    GNSS own;
    own.position.longitude = 120.12;
    own.position.latitude = 30.0;
    own.heading = 0.0f;
    own.refreshMovable2D();
    return own;
}

// A participant `east` and `north` metres from the own vehicle.
IF_PTCBase participantAt(double east, double north)
{
    IF_PTCBase p;
    p.localID = 42;
    strcpy(p.id, "obu-7");
    p.latestRefreshTime = 1700000000.5;
    p.gnss.position.longitude = 120.12 + SpaceToolGeo::LongitudeForMeter(30.0, east);
    p.gnss.position.latitude = 30.0 + SpaceToolGeo::LatitudeForMeter(north);
    p.size.length = 450;
    return p;
}

TEST(TargetMng, InsertTgtMeasuresFromTheOwnVehicle)
{
    TargetMng mng(TARGET_KEY, true);
    GNSS own = ownFix();
    struct {
        double east, north, distance, angle;  // angle positive to the right
    } cases[] = {
        {0, 0, 0, 0}, {0, 100, 100, 0}, {100, 0, 100, PI / 2}, {-30, 0, 30, -PI / 2}, {50, -50, 70.7107, 3 * PI / 4},
    };
    VehClass cls;
    cls.classification = 10;
    for (const auto& c : cases) {
        IF_PTCBase p = participantAt(c.east, c.north);
        ASSERT_EQ(mng.insertTgt(own, &p, 3, &cls), 1);
        const TargetBase& t = mng.targets.back();
        EXPECT_NEAR(copyOf(t.distance), c.distance, 1e-3) << c.east << "," << c.north;
        EXPECT_NEAR(copyOf(t.angle), c.angle, 1e-6) << c.east << "," << c.north;
        EXPECT_EQ(bytesOf(&t, sizeof(IF_PTCBase)), bytesOf(&p, sizeof p)) << "the participant's part whole";
        EXPECT_EQ(t.tgtType, 3);
        EXPECT_EQ(t.vehClass.classification, 10);
    }
    IF_PTCBase p = participantAt(1, 1);
    ASSERT_EQ(mng.insertTgt(own, &p, 1, nullptr), 1);
    EXPECT_EQ(bytesOf(&mng.targets.back().vehClass, sizeof(VehClass)), freshImage<VehClass>());
    EXPECT_EQ(mng.insertTgt(own, nullptr, 1, nullptr), -1);
    EXPECT_EQ(mng.targets.size(), 6u);
}

TEST(TargetMng, CommitPublishesUpToCapacityInOrder)
{
    GNSS own = ownFix();
    TargetMng targets(TARGET_KEY, true), t(TARGET_KEY, false);
    TgtCollisionMng collisions(true), c(false);
    for (int i = 0; i < 260; ++i) {
        IF_PTCBase p = participantAt(i, 0);
        p.localID = (uint16_t)(i + 1);
        ASSERT_EQ(targets.insertTgt(own, &p, 2, nullptr), 1);
        ASSERT_EQ(collisions.insertTgt(own, &p, 3.5, 0.2, 40.0 + i, 2, nullptr), 1);
    }
    ASSERT_EQ(targets.commit() + collisions.commit(), 2);
    ASSERT_EQ(t.update() + c.update(), 2);
    ASSERT_EQ(t.targets.size(), 64u);
    ASSERT_EQ(c.collisions.size(), 256u);
    for (size_t i = 0; i < c.collisions.size(); ++i) {
        const TgtCollision& r = c.collisions[i];
        bool same = r.localID == i + 1 && r.collision == 3.5 && r.angle == 0.2 && r.distance == 40.0 + i;
        ASSERT_TRUE(same && (i >= 64 || t.targets[i].localID == i + 1)) << i;
    }
    collisions.collisions.resize(2);
    ASSERT_EQ(collisions.commit(), 1);
    ASSERT_EQ(c.update(), 1);
    EXPECT_EQ(c.collisions.size(), 2u) << "a shorter list replaces the longer one whole";
}

}  // namespace
