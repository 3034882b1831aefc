#include "BridgeInbox.h"

#include "ConfigEntry.h"
#include "ReceivedLists.h"
#include "BridgeLists.h"
#include "JsonText.h"
#include "ToolCommon.h"

namespace {

std::string takeReceived(Received kind, const std::vector<char>& payload)
{
    const char* list = receivedList(kind);
    if (payload.empty()) {
        return std::string("empty payload for list ") + list;
    }
    std::string why = checkReceived(kind, payload, "payload");
    if (why.empty()) {
        why = ownerMissing(list);
    }
    if (!why.empty()) {
        return why;
    }
    if (kind == Received::MAP) {
        LMNodeListMng mng(false);
        return insertMapMessage(mng, payload);
    }
    if (kind == Received::LIGHTS) {
        LMTLListMng mng(false);
        std::map<int64_t, LMTrafficLightExtend> incoming;
        return insertLightMessage(mng, payload, &incoming);
    }
    LMRSIListMng mng(false);
    size_t added = 0;
    return insertRsiMessage(mng, payload, BRIDGE_RSI_SOURCE, &added);
}

// The value as the command line would give it: texts as they are, numbers
// as JSON writes them (the shortest text that reads back the same).
bool valueWords(const Json& value, std::string* text)
{
    if (value.is_string()) {
        *text = value.get<std::string>();
        return true;
    }
    if (value.is_number()) {
        *text = value.dump();
        return true;
    }
    return false;
}

std::string takeConfig(const std::set<std::string>& allowedKeys, const std::vector<char>& payload)
{
    Json doc = Json::parse(payload.begin(), payload.end(), nullptr, false);
    if (doc.is_discarded() || !doc.is_object()) {
        return "config payload is not a JSON object";
    }
    auto member = [&doc](const char* name) { return doc.contains(name) ? doc[name] : Json(); };
    if (!member("key").is_string() || !member("type").is_string()) {
        return "config payload needs \"key\" and \"type\" texts and a \"value\"";
    }
    std::string key = doc["key"].get<std::string>();
    std::string bad = checkKey(key);
    if (!bad.empty()) {
        return bad;
    }
    if (allowedKeys.count(key) == 0) {
        return "config key '" + key + "' is not on the allow-list";
    }
    const TypeName* type = findType(doc["type"].get<std::string>());
    if (type == nullptr) {
        return "unknown config type '" + doc["type"].get<std::string>() + "' (u8, i32, i64, f64, text)";
    }
    std::string text;
    if (!valueWords(member("value"), &text)) {
        return "config value of " + key + " is neither a number nor a text";
    }
    ConfigInfo entry;
    bad = buildEntry(key, *type, text, &entry);
    if (bad.empty()) {
        bad = ownerMissing("config");
    }
    return bad.empty() ? storeEntry(&entry) : bad;
}

}  // namespace

const char* const BRIDGE_RSI_SOURCE = "mqtt";

std::vector<std::string> inboxTopics(const std::string& unit)
{
    std::vector<std::string> topics;
    for (const std::string& who : {unit, std::string("all")}) {
        for (const char* what : {"map", "signals", "rsi", "config"}) {
            topics.push_back("v2x/" + who + "/in/" + what);
        }
    }
    return topics;
}

std::string takeIn(const std::string& unit, const std::set<std::string>& allowedKeys, const std::string& topic,
                   const std::vector<char>& payload)
{
    std::string what;
    for (const std::string& who : {unit, std::string("all")}) {
        std::string head = "v2x/" + who + "/in/";
        if (topic.compare(0, head.size(), head) == 0) {
            what = topic.substr(head.size());
        }
    }
    try {
        if (what == "map") return takeReceived(Received::MAP, payload);
        if (what == "signals") return takeReceived(Received::LIGHTS, payload);
        if (what == "rsi") return takeReceived(Received::RSI, payload);
        if (what == "config") return takeConfig(allowedKeys, payload);
    } catch (const std::exception& e) {
        return std::string("could not take the message in: ") + e.what();
    }
    return "no list takes messages on " + topic;
}
