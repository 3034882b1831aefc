#include "status/UIClient.h"

#include <cstring>

UIClient::UIClient() : clientType(UI_CLIENT_DEFAULT)
{
    memset(firstId, 0, sizeof firstId);
    memset(secondId, 0, sizeof secondId);
    refreshTime();
}

UIClient::UIClient(const char* first, const char* second, UIClient::UIClientType type) : clientType(type)
{
    memset(firstId, 0, sizeof firstId);
    memset(secondId, 0, sizeof secondId);
    refreshTime();
    if (first == nullptr) {
        return;
    }
    size_t firstLen = strnlen(first, FIRST_ID_LEN + 1);
    if (firstLen > (size_t)FIRST_ID_LEN) {
        return;
    }
    memcpy(firstId, first, firstLen);
    if (second != nullptr) {
        size_t secondLen = strnlen(second, SECOND_ID_LEN + 1);
        if (secondLen <= (size_t)SECOND_ID_LEN) {
            memcpy(secondId, second, secondLen);
        }
    }
}

bool UIClient::isSameClient(const UIClient& other) const
{
    return clientType == other.clientType && strncmp(firstId, other.firstId, FIRST_ID_LEN) == 0 &&
           strncmp(secondId, other.secondId, SECOND_ID_LEN) == 0;
}
