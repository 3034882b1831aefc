#include "v2xshm-unit/SpeedAdvice.h"

#include <gtest/gtest.h>

namespace {

constexpr uint8_t R = LIGHT_RED;
constexpr uint8_t G = LIGHT_GREEN_PROTECTED;
constexpr uint8_t Y = LIGHT_YELLOW_PROTECTED;

// A state from `start` (-1 running) ending between minEnd and maxEnd,
// likely at `end`; -1 where not given.
SignalWindow win(uint8_t light, double start, double minEnd, double end, double maxEnd)
{
    return SignalWindow{light, start, minEnd, end, maxEnd};
}

// Limits 2.78 to 13.89 m/s (10 to 50 km/h).
TEST(SpeedAdvice, HandComputedCases)
{
    const SignalWindow cycle[] = {win(R, -1, 19, 20, 21), win(G, 20, 49, 50, 51), win(Y, 50, 53, 53, 53)};
    const struct {
        const char* what;
        double distance, speed;
        std::vector<SignalWindow> windows;
        SpeedAdvice::Verdict verdict;
        double low, high;
        bool inBand;
    } cases[] = {
        // Green until at least 29 s: 100 m take 7.2 s at the limit, 36 s at the minimum.
        {"green long enough", 100, 12, {win(G, -1, 29, 30, 31), win(Y, 30, 33, 33, 33)},
         SpeedAdvice::GO, 100.0 / 29, 13.89, true},
        // Green ends at 9 s at the earliest; 200 m take 14.4 s at the limit; red known to 61 s.
        {"green ending before arrival", 200, 13, {win(G, -1, 9, 10, 11), win(Y, 10, 13, 13, 13), win(R, 13, 59, 60, 61)},
         SpeedAdvice::STOP, 0, 0, false},
        // Red until 21 s at the latest, then green until 49 s at the earliest: 300 m in 21.6..49 s.
        {"red turning green on arrival", 300, 13.89, {cycle[0], cycle[1], cycle[2]},
         SpeedAdvice::GO, 300.0 / 49, 13.89, true},
        // Too close to make the green at the minimum speed after a red to 21 s: 40 m at 2.78 m/s take 14.4 s.
        {"red too long for the minimum speed", 40, 5, {cycle[0], cycle[1], cycle[2]},
         SpeedAdvice::STOP, 0, 0, false},
        {"green count-down without an end", 100, 12, {win(G, -1, -1, -1, -1)}, SpeedAdvice::UNKNOWN, 0, 0, false},
        {"red count-down without an end", 100, 12, {win(R, -1, -1, -1, -1), win(G, 30, 59, 60, 61)},
         SpeedAdvice::UNKNOWN, 0, 0, false},
        {"no light received", 100, 12, {}, SpeedAdvice::UNKNOWN, 0, 0, false},
        // Standing 100 m before the line: the band to pull away at, from the minimum speed.
        {"speed 0", 100, 0, {cycle[0], cycle[1], cycle[2]}, SpeedAdvice::GO, 2.78, 100.0 / 21, false},
        {"speed 0 at the line on red", 0, 0, {cycle[0], cycle[1], cycle[2]}, SpeedAdvice::STOP, 0, 0, false},
        {"at the line on green", 0, 8, {win(G, -1, 9, 10, 11)}, SpeedAdvice::GO, 2.78, 13.89, true},
        // Light known to 33 s only: slower arrivals are not known.
        {"green missed, nothing known after", 500, 12, {win(G, -1, 29, 30, 31), win(Y, 30, 33, 33, 33)},
         SpeedAdvice::UNKNOWN, 0, 0, false},
    };
    for (const auto& c : cases) {
        AdviceInput in;
        in.distance = c.distance;
        in.speed = c.speed;
        in.minSpeed = 2.78;
        in.maxSpeed = 13.89;
        in.windows = c.windows;
        SpeedAdvice a;
        ASSERT_EQ(1, adviseSpeed(in, &a)) << c.what;
        EXPECT_EQ(c.verdict, a.verdict) << c.what;
        EXPECT_NEAR(c.low, a.low, 1e-9) << c.what;
        EXPECT_NEAR(c.high, a.high, 1e-9) << c.what;
        EXPECT_EQ(c.inBand, a.speedInBand) << c.what;
    }
}

TEST(SpeedAdvice, RefusesInputOutOfRange)
{
    AdviceInput in;
    in.maxSpeed = 13.89;
    SpeedAdvice a;
    EXPECT_EQ(-1, adviseSpeed(in, nullptr));
    for (double bad : {-1.0, 1.0 / 0.0, 0.0 / 0.0}) {
        in.distance = bad;
        EXPECT_EQ(-1, adviseSpeed(in, &a));
    }
    in.distance = 10;
    in.maxSpeed = 0;
    EXPECT_EQ(-1, adviseSpeed(in, &a));
}

}  // namespace
