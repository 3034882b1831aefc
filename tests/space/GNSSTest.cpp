// The prediction from the fix's own age (the values of the geometry and of
// the prediction after a given time are pinned by geometry-table.golden).
#include "space/GNSS.h"

#include <gtest/gtest.h>

#include "shm/TimeTool.h"
#include "space/SpaceToolGeo.h"

TEST(GNSS, PresentPositionDrivesOnForTheFixAgeAndWritesOnlyThePosition)
{
    for (double age : {2.0, -2.0}) {  // a clock stepped back predicts backwards
        GNSS g;
        g.position.longitude = 116.0, g.position.latitude = 39.9, g.speed = 10.0f, g.heading = 90.0f;
        g.latestRefreshTime = TimeTool::getPreciseTimeNow() - age;
        GeoCoordinates present;
        present.latHemisphere = 'S', present.altitude = 123.5;
        g.predictPresentGeoCoordinates(&present);
        // East at 10 m/s; the age grows a little before the prediction: 0.5 m.
        EXPECT_NEAR(present.longitude, 116.0 + SpaceToolGeo::LongitudeForMeter(39.9, 10.0 * age),
                    SpaceToolGeo::LongitudeForMeter(39.9, 0.5)) << age;
        EXPECT_NEAR(present.latitude, 39.9, 1e-12) << age;
        EXPECT_TRUE(present.latHemisphere == 'S' && present.altitude == 123.5);
    }
    GNSS().predictGeoCoordinatesAfter(2.0, nullptr);  // no output: nothing happens
}
