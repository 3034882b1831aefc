#include "BridgeLists.h"

#include <cmath>
#include <functional>

#include "ApproachJson.h"
#include "LocalMapJson.h"
#include "PtcJson.h"
#include "ShmJson.h"
#include "ToolCommon.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "shm/DevConfigMng.h"
#include "space/DevGNSSMng.h"

namespace {

// Reads a list whose owner was seen running.
template <typename Mng>
bool readOwned(const char* list, Mng* mng, std::string* why)
{
    guardLockWait(list);
    int rc = mng->update();
    releaseLockGuard();
    if (rc != 1) {
        *why = std::string("list ") + list + " did not decode";
        return false;
    }
    return true;
}

template <typename Mng, typename View>
bool simpleView(const char* list, View view, Json* doc, std::string* why)
{
    *why = ownerMissing(list);
    if (!why->empty()) {
        return false;
    }
    Mng mng(false);
    if (!readOwned(list, &mng, why)) {
        return false;
    }
    *doc = view(mng);
    return true;
}

// Where the vehicle is and what its approach's lights and advice are; the
// location is null until a locating process published one.
bool approachView(double now, Json* doc, std::string* why)
{
    for (const char* list : {"location", "map", "lights"}) {
        *why = ownerMissing(list);
        if (!why->empty()) {
            return false;
        }
    }
    LMMapResMng location(false);
    if (!readOwned("location", &location, why)) {
        return false;
    }
    const LMMapRes& res = location.mapRes;
    *doc = Json{{"location", nullptr}, {"signal", nullptr}};
    if (res.getLatestRefreshTime() == 0.0) {
        return true;
    }
    (*doc)["location"] = res;
    LMNodeListMng map(false);
    LMTLListMng lights(false);
    ApproachSignal signal;
    if (!readOwned("map", &map, why) || !readOwned("lights", &lights, why) ||
        evalApproachSignal(map.nodes, res, lights.lights, now, &signal) != 1) {
        return true;
    }
    double speed = 0.0;
    if (ownerMissing("gnss").empty()) {
        DevGNSSMng gnss(false);
        if (readOwned("gnss", &gnss, why) && std::isfinite(gnss.gnss.speed) && gnss.gnss.speed > 0.0f) {
            speed = gnss.gnss.speed;
        }
    }
    std::vector<SpeedAdvice> advice;
    if (adviseApproach(signal, res, speed, &advice) < 0) {
        advice.clear();
    }
    (*doc)["signal"] = signal;
    for (size_t i = 0; i < signal.movements.size(); ++i) {
        (*doc)["signal"][i]["advice"] = i < advice.size() ? Json(advice[i]) : Json(nullptr);
    }
    return true;
}

}  // namespace

std::string ownerMissing(const char* list)
{
    const ListInfo& info = *findList(list);
    ListProbe probe = probeList(info);
    if (!probe.owned() || probe.segmentSize < info.size) {
        return std::string("list ") + list + " has no owner";
    }
    return "";
}

const std::vector<std::string>& bridgeLists()
{
    static const std::vector<std::string> lists = {"ptc",    "obu", "rsu",    "map",
                                                   "lights", "rsi", "config", "approach"};
    return lists;
}

bool listView(const std::string& list, double now, Json* doc, std::string* why)
{
    if (list == "ptc") {
        return simpleView<PTCListMng>("ptc", [now](PTCListMng& m) { return recordListJson(RecordListView<PTC>{"ptc", m.ptcs, now}); },
                                      doc, why);
    }
    if (list == "obu") {
        return simpleView<PtcOBUListMng>(
            "obu", [now](PtcOBUListMng& m) { return recordListJson(RecordListView<OBU>{"obu", m.obus, now}); }, doc, why);
    }
    if (list == "rsu") {
        return simpleView<PtcRSUListMng>(
            "rsu", [now](PtcRSUListMng& m) { return recordListJson(RecordListView<RSU>{"rsu", m.rsus, now}); }, doc, why);
    }
    if (list == "map") {
        return simpleView<LMNodeListMng>(
            "map", [](LMNodeListMng& m) { return Json{{"count", m.nodes.size()}, {"nodes", jsonValues(m.nodes)}}; },
            doc, why);
    }
    if (list == "lights") {
        return simpleView<LMTLListMng>(
            "lights", [](LMTLListMng& m) { return Json{{"count", m.lights.size()}, {"lights", jsonValues(m.lights)}}; },
            doc, why);
    }
    if (list == "rsi") {
        return simpleView<LMRSIListMng>(
            "rsi", [](LMRSIListMng& m) { return Json{{"count", m.records.size()}, {"records", m.records}}; }, doc,
            why);
    }
    if (list == "config") {
        return simpleView<DevConfigMng>("config", [](DevConfigMng& m) { return Json(ConfigListView{m.configs}); },
                                        doc, why);
    }
    if (list == "approach") {
        return approachView(now, doc, why);
    }
    *why = "unknown list " + list;
    return false;
}

Json withoutAges(const Json& doc)
{
    if (doc.is_array()) {
        Json out = Json::array();
        for (const Json& e : doc) {
            out.push_back(withoutAges(e));
        }
        return out;
    }
    if (!doc.is_object()) {
        return doc;
    }
    Json out = Json::object();
    for (auto it = doc.begin(); it != doc.end(); ++it) {
        if (it.key() != "age" && it.key() != "ageSeconds") {
            out[it.key()] = withoutAges(it.value());
        }
    }
    return out;
}

bool ChangeTracker::changed(const std::string& list, const Json& doc) const
{
    auto it = last_.find(list);
    return it == last_.end() || it->second != withoutAges(doc).dump();
}

void ChangeTracker::published(const std::string& list, const Json& doc)
{
    last_[list] = withoutAges(doc).dump();
}

Json statusDoc(const std::string& unit, double started, const std::vector<std::string>& lists, int periodMs)
{
    return Json{{"unit", unit}, {"state", "online"}, {"started", jsonNumber(started)}, {"lists", lists},
                {"periodMs", periodMs}};
}

Json errorDoc(const std::string& topic, const std::string& reason, double now)
{
    return Json{{"topic", topic.empty() ? Json(nullptr) : Json(topic)}, {"reason", reason}, {"time", jsonNumber(now)}};
}
