// The bridge's logic apart from the broker: when a list counts as changed,
// the bound on publications in flight, the command line's defaults, and
// messages refused before any list is looked at.
#include <gtest/gtest.h>

#include "JsonText.h"
#include "bridge/BridgeFlow.h"
#include "bridge/BridgeInbox.h"
#include "bridge/BridgeLists.h"
#include "bridge/BridgeOptions.h"

namespace {

TEST(BridgeChangeTracker, AgesAloneAreNoChange)
{
    struct Row {
        const char* name;
        const char* before;
        const char* after;
        bool changed;
    };
    const Row rows[] = {
        {"age grown", R"({"records":[{"id":1,"age":0.1}]})", R"({"records":[{"id":1,"age":2.5}]})", false},
        {"nested ageSeconds", R"({"nodes":[{"links":[{"ageSeconds":1}]}]})",
         R"({"nodes":[{"links":[{"ageSeconds":9}]}]})", false},
        {"value changed", R"({"records":[{"id":1,"age":0.1}]})", R"({"records":[{"id":2,"age":0.1}]})", true},
        {"record added", R"({"records":[{"id":1}]})", R"({"records":[{"id":1},{"id":2}]})", true},
        {"a field named like an age, but not one", R"({"stage":1})", R"({"stage":2})", true},
    };
    for (const Row& row : rows) {
        ChangeTracker tracker;
        EXPECT_TRUE(tracker.changed("ptc", Json::parse(row.before))) << row.name << ": never published";
        tracker.published("ptc", Json::parse(row.before));
        EXPECT_EQ(tracker.changed("ptc", Json::parse(row.after)), row.changed) << row.name;
        EXPECT_TRUE(tracker.changed("obu", Json::parse(row.before))) << row.name << ": lists apart";
        tracker.forgetAll();
        EXPECT_TRUE(tracker.changed("ptc", Json::parse(row.before))) << row.name << ": forgotten";
    }
}

TEST(BridgeInFlight, BoundedAndAckedBeforeItsIdIsKnown)
{
    InFlight inFlight(2);
    inFlight.sent(1);
    inFlight.acked(2);  // the broker answered before the sender learnt the id
    inFlight.sent(2);
    EXPECT_FALSE(inFlight.full());
    inFlight.sent(3);
    EXPECT_TRUE(inFlight.full());
    inFlight.acked(1);
    EXPECT_FALSE(inFlight.full());
    inFlight.sent(4);
    inFlight.clear();
    EXPECT_FALSE(inFlight.full());
}

TEST(BridgeOptionsDefaults, PortFollowsTlsAndListsDefaultToAll)
{
    BridgeOptions plain, tls, given;
    ASSERT_EQ(parseBridgeOptions({"--broker", "h", "--unit", "u1"}, &plain), "");
    EXPECT_EQ(plain.port, 1883);
    EXPECT_EQ(plain.lists, bridgeLists());
    EXPECT_EQ(plain.periodMs, 1000);
    ASSERT_EQ(parseBridgeOptions({"--unit", "u1", "--broker", "h", "--cafile", "ca"}, &tls), "");
    EXPECT_EQ(tls.port, 8883);
    ASSERT_EQ(parseBridgeOptions({"--broker", "h:0x75B", "--unit", "u1", "--lists", "map,ptc", "--config-keys",
                                  "a,b"}, &given), "");
    EXPECT_EQ(given.port, 1883);
    EXPECT_EQ(given.lists, (std::vector<std::string>{"map", "ptc"}));
    EXPECT_EQ(given.configKeys, (std::set<std::string>{"a", "b"}));
}

// Refused before any list is looked at: no owner runs here.
TEST(BridgeTakeIn, RefusedWithTheirReason)
{
    const std::set<std::string> allowed = {"txpower"};
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"v2x/u1/in/bogus", "no list takes messages on v2x/u1/in/bogus"},
        {"v2x/u2/in/map", "no list takes messages on v2x/u2/in/map"},
        {"v2x/u1/in/map", "map message cut short: a count or field at byte 2 runs past the payload's 3 bytes"},
        {"v2x/all/in/config", "config payload is not a JSON object"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(takeIn("u1", allowed, row.first, {'a', 'b', 'c'}), row.second) << row.first;
    }
    std::string entry = R"({"key":"admin","type":"i32","value":1})";
    EXPECT_EQ(takeIn("u1", allowed, "v2x/u1/in/config", std::vector<char>(entry.begin(), entry.end())),
              "config key 'admin' is not on the allow-list");
    entry = R"({"key":"txpower","type":"i32","value":1})";
    EXPECT_EQ(takeIn("u1", allowed, "v2x/u1/in/config", std::vector<char>(entry.begin(), entry.end())),
              "list config has no owner");
}

}  // namespace
