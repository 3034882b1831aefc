// Targets built from participants around the own vehicle, and the target
// and collision lists published whole to other processes.
#include <cmath>
#include <gtest/gtest.h>

#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "space/SpaceToolGeo.h"
#include "support/ByteImage.h"
#include "support/ProcessHelpers.h"

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

// Commits `n` records and reads them back in another process: the first
// `capacity` arrive, in order, with their figures.
template <typename Mng, typename Make>
void commitAndReadElsewhere(Mng& writer, int n, int capacity, Make makeReader)
{
    GNSS own = ownFix();
    for (int i = 0; i < n; ++i) {
        IF_PTCBase p = participantAt(i, 0);
        p.localID = (uint16_t)(i + 1);
        if constexpr (std::is_same<Mng, TargetMng>::value) {
            ASSERT_EQ(writer.insertTgt(own, &p, 2, nullptr), 1);
        } else {
            ASSERT_EQ(writer.insertTgt(own, &p, 3.5, 0.2, 40.0 + i, 2, nullptr), 1);
        }
    }
    ASSERT_EQ(writer.commit(), 1);
    pid_t reader = forkChild([&] {
        auto mng = makeReader();
        if (mng->update() != 1) {
            return 1;
        }
        int i = 0;
        for (const auto& rec : *mng->records()) {
            ++i;
            if (rec.localID != i) {
                return 2;
            }
            if constexpr (std::is_same<Mng, TgtCollisionMng>::value) {
                if (rec.collision != 3.5 || rec.angle != 0.2 || rec.distance != 40.0 + (i - 1)) {
                    return 3;
                }
            }
        }
        return i == capacity ? 0 : 4;
    });
    EXPECT_EQ(waitChild(reader), 0);
}

struct TargetReader : TargetMng {
    TargetReader() : TargetMng(TARGET_KEY, false) {}
    std::vector<TargetBase>* records() { return &targets; }
};
struct CollisionReader : TgtCollisionMng {
    CollisionReader() : TgtCollisionMng(false) {}
    std::vector<TgtCollision>* records() { return &collisions; }
};

TEST(TargetMng, CommitPublishesUpToCapacityInOrder)
{
    TargetMng targets(TARGET_KEY, true);
    commitAndReadElsewhere(targets, 70, 64, [] { return std::unique_ptr<TargetReader>(new TargetReader); });
    TgtCollisionMng collisions(true);
    commitAndReadElsewhere(collisions, 260, 256, [] { return std::unique_ptr<CollisionReader>(new CollisionReader); });
    collisions.collisions.resize(2);
    ASSERT_EQ(collisions.commit(), 1);
    CollisionReader again;
    ASSERT_EQ(again.update(), 1);
    EXPECT_EQ(again.collisions.size(), 2u) << "a shorter list replaces the longer one whole";
}

}  // namespace
