// UI client texts, identity, the full list, and removal of every match.
#include "status/DevUIClientMng.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/ByteImage.h"

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

// "firstId/type" of each listed client.
std::string namesOf(const DevUIClientListInShm& list)
{
    std::string names;
    for (int i = 0; i < list.validCount(); ++i) {
        names += text(list.items[i].firstId, 20) + "/" + std::to_string(copyOf(list.items[i].clientType)) + " ";
    }
    return names;
}

}  // namespace

TEST(UIClient, TextsAreCopiedOnlyWhenTheyFit)
{
    const std::string f20(20, 'f'), f21(21, 'f'), s16(16, 's'), s17(17, 's');
    const struct { const char *first, *second; std::string wantFirst, wantSecond; } cases[] = {
        {"tablet", "driver", "tablet", "driver"}, {f20.c_str(), s16.c_str(), f20, s16}, {f21.c_str(), "driver", "", ""},
        {nullptr, "driver", "", ""}, {"tablet", s17.c_str(), "tablet", ""}, {"tablet", nullptr, "tablet", ""}};
    for (const auto& c : cases) {
        UIClient client(c.first, c.second, PHONE);
        EXPECT_EQ(text(client.firstId, 20), c.wantFirst);
        EXPECT_EQ(text(client.secondId, 16), c.wantSecond);
        EXPECT_EQ(copyOf(client.clientType), 5);
    }
}

TEST(DevUIClientMng, RegistrationByIdentity)
{
    DevUIClientListInShm list;
    UIClient again = numbered(1);
    again.latestRefreshTime = 1.0;
    const std::pair<UIClient, int> inserts[] = {
        {numbered(1), 2}, {again, 1}, {numbered(1, PHONE), 2}, {UIClient("client1", "rear", PHONE), 2}};
    for (auto c : inserts) EXPECT_EQ(DevUIClientMng::insert1Client(&list, &c.first), c.second);
    EXPECT_EQ(namesOf(list), "client1/2 client1/5 client1/5 ");
    EXPECT_NE(copyOf(list.items[0].latestRefreshTime), 1.0);  // not renewed

    for (int i = 2; list.validCount() < 64; ++i) list.items[list.count++] = numbered(i);
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
    for (const UIClient& c : {numbered(1), numbered(2), numbered(1), numbered(3), numbered(1, PHONE)}) {
        list.items[list.count++] = c;
    }
    UIClient gone = numbered(1), stranger = numbered(9);
    EXPECT_EQ(DevUIClientMng::delete1Client(&list, &stranger), 1);
    EXPECT_EQ(namesOf(list), "client1/2 client2/2 client1/2 client3/2 client1/5 ");
    EXPECT_EQ(DevUIClientMng::delete1Client(&list, &gone), 1);
    EXPECT_EQ(namesOf(list), "client2/2 client3/2 client1/5 ");
    EXPECT_EQ(text(list.items[3].firstId, 20), "");  // a default client after the count
}
