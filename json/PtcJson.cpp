#include "PtcJson.h"

#include "JsonText.h"

namespace {

// The members of a target before its common part.
Json targetHead(const TargetBase& t)
{
    return {{"tgtType", (int)t.tgtType}, {"distance", jsonNumber(t.distance)}, {"angle", jsonNumber(t.angle)}};
}

template <typename Rec>
Json listOf(const RecordListView<Rec>& view)
{
    Json records = Json::array();
    for (const Rec& r : view.records) {
        Json record = r;
        record["age"] = jsonNumber(view.now - r.latestRefreshTime);
        records.push_back(record);
    }
    return Json{{"list", view.list}, {"count", view.records.size()}, {"records", records}};
}

}  // namespace

void to_json(Json& j, const IF_PTCBase& p)
{
    j = {{"localID", (int)p.localID},
         {"id", fieldText(p.id, IF_PTCBase::ID_LEN)},
         {"longitude", jsonNumber(p.gnss.position.longitude)},
         {"latitude", jsonNumber(p.gnss.position.latitude)},
         {"speed", jsonFloat(p.gnss.speed)},
         {"heading", jsonFloat(p.gnss.heading)},
         {"refreshTime", jsonNumber(p.latestRefreshTime)}};
}

void to_json(Json& j, const PTC& p)
{
    j = {{"ptcID", (int)p.ptcID},
         {"source", (int)p.source},
         {"sourceID", fieldText(p.sourceID, PTC::TEXT_LEN)},
         {"ptcType", (int)p.ptcType}};
    j.update(Json(static_cast<const IF_PTCBase&>(p)));
}

void to_json(Json& j, const TargetBase& t)
{
    j = targetHead(t);
    j.update(Json(static_cast<const IF_PTCBase&>(t)));
}

void to_json(Json& j, const TgtCollision& c)
{
    j = targetHead(c);
    j["collision"] = jsonNumber(c.collision);
    j.update(Json(static_cast<const IF_PTCBase&>(c)));
}

Json recordListJson(const RecordListView<PTC>& view) { return listOf(view); }
Json recordListJson(const RecordListView<OBU>& view) { return listOf(view); }
Json recordListJson(const RecordListView<RSU>& view) { return listOf(view); }
Json recordListJson(const RecordListView<TargetBase>& view) { return listOf(view); }
Json recordListJson(const RecordListView<TgtCollision>& view) { return listOf(view); }
void printJson(const RecordListView<PTC>& view) { printJson(listOf(view)); }
void printJson(const RecordListView<OBU>& view) { printJson(listOf(view)); }
void printJson(const RecordListView<RSU>& view) { printJson(listOf(view)); }
void printJson(const RecordListView<TargetBase>& view) { printJson(listOf(view)); }
void printJson(const RecordListView<TgtCollision>& view) { printJson(listOf(view)); }

void printJson(const PushResult& result)
{
    printJson(Json{{"list", result.list},
                   {"result", result.inserted ? "inserted" : "refreshed"},
                   {"localID", (int)result.localID}});
}

void printJson(const AgeingView& view)
{
    Json out = Json::object();
    for (const AgedList& a : view.lists) {
        out[a.list] = {{"before", a.before}, {"after", a.after}};
    }
    out["maxAgeSeconds"] = jsonNumber(view.maxAgeSeconds);
    printJson(out);
}

void printJson(const GivenId& given)
{
    printJson(Json{{"givenID", (int)given.id}});
}
