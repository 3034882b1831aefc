// UI client texts, identity, the full list, and registration and removal
// from two processes.
#include "status/DevUIClientMng.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/ByteImage.h"
#include "support/ProcessHelpers.h"

namespace {

const UIClient::UIClientType PHONE = (UIClient::UIClientType)5;

std::string text(const char* field, size_t width)
{
    return std::string(field, strnlen(field, width));
}

UIClient numbered(int i, UIClient::UIClientType type = UIClient::UI_CLIENT_DEFAULT)
{
    return UIClient(("client" + std::to_string(i)).c_str(), "seat", type);
}

std::vector<std::string> namesOf(const DevUIClientListInShm& list)
{
    std::vector<std::string> names;
    for (int i = 0; i < list.validCount(); ++i) {
        names.push_back(text(list.items[i].firstId, 20) + "/" + std::to_string(copyOf(list.items[i].clientType)));
    }
    return names;
}

}  // namespace

TEST(UIClient, TextsAreCopiedOnlyWhenTheyFit)
{
    const std::string f20(20, 'f'), f21(21, 'f'), s16(16, 's'), s17(17, 's');
    struct {
        const char* first;
        const char* second;
        std::string wantFirst, wantSecond;
    } cases[] = {
        {"tablet", "driver", "tablet", "driver"}, {f20.c_str(), s16.c_str(), f20, s16},
        {f21.c_str(), "driver", "", ""},          {nullptr, "driver", "", ""},
        {"tablet", s17.c_str(), "tablet", ""},    {"tablet", nullptr, "tablet", ""},
    };
    for (const auto& c : cases) {
        UIClient client(c.first, c.second, PHONE);
        EXPECT_EQ(text(client.firstId, 20), c.wantFirst);
        EXPECT_EQ(text(client.secondId, 16), c.wantSecond);
        EXPECT_EQ(copyOf(client.clientType), 5);
        EXPECT_FALSE(client.isPreciseOverTime(60.0));
    }
    UIClient client("ab", "cd", PHONE);
    Bytes image = bytesOf(&client, sizeof client);
    Bytes expected(40, 0);
    expected[0] = 'a', expected[1] = 'b', expected[20] = 'c', expected[21] = 'd', expected[36] = 5;
    EXPECT_EQ(Bytes(image.begin() + 8, image.end()), expected);
    EXPECT_EQ(copyOf(UIClient().clientType), 2);
}

TEST(DevUIClientMng, RegistrationByIdentity)
{
    DevUIClientListInShm list;
    UIClient a = numbered(1), aOtherType = numbered(1, PHONE), aOtherSeat("client1", "rear", PHONE);
    EXPECT_EQ(DevUIClientMng::insert1Client(&list, &a), 2);
    UIClient again = numbered(1);
    again.latestRefreshTime = 1.0;
    EXPECT_EQ(DevUIClientMng::insert1Client(&list, &again), 1);
    EXPECT_EQ(DevUIClientMng::insert1Client(&list, &aOtherType), 2);
    EXPECT_EQ(DevUIClientMng::insert1Client(&list, &aOtherSeat), 2);
    EXPECT_EQ(list.validCount(), 3);
    EXPECT_NE(copyOf(list.items[0].latestRefreshTime), 1.0);  // not renewed

    for (int i = 2; list.validCount() < 64; ++i) {
        UIClient c = numbered(i);
        ASSERT_EQ(DevUIClientMng::insert1Client(&list, &c), 2);
    }
    UIClient extra = numbered(999);
    Bytes before = bytesOf(&list, sizeof list);
    EXPECT_EQ(DevUIClientMng::insert1Client(&list, &extra), 2);
    EXPECT_EQ(bytesOf(&list, sizeof list), before);
    list.count = 5000;  // damaged: read as full
    EXPECT_EQ(DevUIClientMng::insert1Client(&list, &extra), 2);
    EXPECT_EQ(copyOf(list.count), 64);
}

TEST(DevUIClientMng, DeletionRemovesEveryMatchAndKeepsOrder)
{
    DevUIClientListInShm list;
    const UIClient entries[] = {numbered(1), numbered(2), numbered(1), numbered(3), numbered(1, PHONE)};
    for (const UIClient& c : entries) list.items[list.count++] = c;
    UIClient gone = numbered(1), stranger = numbered(9);
    EXPECT_EQ(DevUIClientMng::delete1Client(&list, &stranger), 1);
    EXPECT_EQ(namesOf(list), (std::vector<std::string>{"client1/2", "client2/2", "client1/2", "client3/2", "client1/5"}));
    EXPECT_EQ(DevUIClientMng::delete1Client(&list, &gone), 1);
    EXPECT_EQ(namesOf(list), (std::vector<std::string>{"client2/2", "client3/2", "client1/5"}));
    EXPECT_EQ(text(list.items[3].firstId, 20), "");  // a default client after the count
}

TEST(DevUIClientMng, TwoProcessesRegisterAndRemove)
{
    DevUIClientMng owner(true);
    Signal registered, removed;
    pid_t first = forkChild([&] {
        DevUIClientMng mng(false);
        UIClient a = numbered(1), b = numbered(2);
        if (mng.operateSHMNotSafe(DevUIClientMng::insert1Client, &a) != 2 ||
            mng.operateSHMNotSafe(DevUIClientMng::insert1Client, &b) != 2) {
            return 1;
        }
        registered.post();
        return 0;
    });
    ASSERT_TRUE(registered.wait());
    ASSERT_EQ(waitChild(first), 0);
    pid_t second = forkChild([] {
        DevUIClientMng mng(false);
        UIClient a = numbered(1);
        if (mng.operateSHMNotSafe(DevUIClientMng::delete1Client, &a) != 1 || mng.update() != 1) {
            return 1;
        }
        return (mng.clients.size() == 1 && text(mng.clients[0].firstId, 20) == "client2") ? 0 : 2;
    });
    EXPECT_EQ(waitChild(second), 0);
    ASSERT_EQ(owner.update(), 1);
    ASSERT_EQ(owner.clients.size(), 1u);
    EXPECT_EQ(text(owner.clients[0].firstId, 20), "client2");
}
