#ifndef V2XSHM_STATUS_UICLIENT_H
#define V2XSHM_STATUS_UICLIENT_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "shm/IFRefreshable.h"

#pragma pack(push, 1)
// One user-interface client connected to the device, stamped with the time
// it registered. Its identity is (clientType, firstId, secondId), the texts
// compared exactly.
class UIClient : public IF_Refreshable {
public:
    // The kinds of client; the processes that serve clients add their own.
    enum UIClientType {
        UI_CLIENT_DEFAULT = 2,
    };
    static constexpr int FIRST_ID_LEN = 20;   // a 20-character text has no terminator
    static constexpr int SECOND_ID_LEN = 16;  // likewise at 16

    // Both texts empty, type 2, stamped now.
    UIClient();
    // Stamped now, clientType = type. firstId is copied when it is not null
    // and at most 20 characters long, and only then secondId, when not null
    // and at most 16 characters long; a text that is not copied stays empty.
    UIClient(const char* firstId, const char* secondId, UIClient::UIClientType type);

    // Same type and same texts.
    bool isSameClient(const UIClient& other) const;

    char firstId[FIRST_ID_LEN];
    char secondId[SECOND_ID_LEN];
    int32_t clientType;
};
#pragma pack(pop)
static_assert(sizeof(UIClient) == 48, "shared layout changed");
static_assert(offsetof(UIClient, firstId) == 8, "shared layout changed");
static_assert(offsetof(UIClient, secondId) == 28, "shared layout changed");
static_assert(offsetof(UIClient, clientType) == 44, "shared layout changed");
static_assert(std::is_trivially_copyable<UIClient>::value, "copied with memcpy");

#endif
