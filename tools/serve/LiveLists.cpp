#include "LiveLists.h"

#include <cmath>
#include <exception>
#include <functional>

#include "ApproachJson.h"
#include "ListViewJson.h"
#include "LocalMapJson.h"
#include "MapPicture.h"
#include "PtcJson.h"
#include "SpaceJson.h"
#include "ToolCommon.h"
#include "localmap/LMMapResMng.h"
#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "space/DevGNSSMng.h"
#include "space/VehTraceMng.h"
#include "status/VehStatusMng.h"
#include "v2xshm-unit/SpeedAdvice.h"

namespace {

// What the side panel needs beyond the lists' JSON views.
struct Kept {
    std::map<int64_t, LMNodeExtend> nodes;
    std::map<int64_t, LMTrafficLightExtend> lights;
    LMMapRes location;
    GNSS fix;
    Json targets = Json::array();
};

// Reads list `name` into a manager made only once the probe found an owner
// (a non-owner's manager would otherwise create the segment); `view` makes
// the JSON from the manager's local copy, after the lock is released.
template <typename Mng, typename... Args>
void readOne(LiveList* out, Json* doc, std::function<Json(Mng&)> view, Args... args)
{
    const ListInfo* info = findList(out->name);
    ListOwnerProbe probe = probeListOwner(info->key);
    out->present = probe.owned() && probe.segmentSize >= info->size;
    if (!out->present) {
        return;
    }
    Mng mng(args..., false);
    out->read = mng.update() == 1;
    if (out->read) {
        *doc = view(mng);
    }
}

// The newest "refreshTime" anywhere in a view; 0 when none.
double newestStamp(const Json& doc)
{
    double newest = 0.0;
    if (doc.is_object() || doc.is_array()) {
        for (auto it = doc.begin(); it != doc.end(); ++it) {
            if (doc.is_object() && it.key() == "refreshTime" && it->is_number()) {
                newest = std::max(newest, it->get<double>());
            } else {
                newest = std::max(newest, newestStamp(*it));
            }
        }
    }
    return newest;
}

Json readList(const std::string& name, double now, Kept* kept, LiveList* out)
{
    Json doc;
    if (name == "gnss") {
        readOne<DevGNSSMng>(out, &doc, [&](DevGNSSMng& m) {
            kept->fix = m.gnss;
            bool stored = m.gnss.latestRefreshTime != 0.0;
            GeoCoordinates predicted = m.gnss.position;
            if (stored) {
                m.gnss.predictGeoCoordinatesAfter(now - m.gnss.latestRefreshTime, &predicted);
            }
            return Json(GnssView{kept->fix, now, stored, predicted});
        });
    } else if (name == "trace") {
        readOne<VehTraceMng>(out, &doc, [&](VehTraceMng& m) {
            return Json(TraceView{m.trace, m.trace.boundedCount(), now});
        });
    } else if (name == "vehicle") {
        readOne<VehStatusMng>(out, &doc, [&](VehStatusMng& m) { return Json(VehStatusAt{m.status, now}); });
    } else if (name == "map") {
        readOne<LMNodeListMng>(out, &doc, [&](LMNodeListMng& m) {
            kept->nodes = m.nodes;
            return nodeListJson(m.nodes);
        });
    } else if (name == "lights") {
        readOne<LMTLListMng>(out, &doc, [&](LMTLListMng& m) {
            kept->lights = m.lights;
            return lightListJson(m.lights, now);
        });
    } else if (name == "rsi") {
        readOne<LMRSIListMng>(out, &doc, [](LMRSIListMng& m) { return rsiListJson(m.records); });
    } else if (name == "location") {
        readOne<LMMapResMng>(out, &doc, [&](LMMapResMng& m) {
            kept->location = m.mapRes;
            return Json(m.mapRes);
        });
    } else if (name == "phaseresult") {
        readOne<LMTLPhaseResMng>(out, &doc, [](LMTLPhaseResMng& m) { return phaseResultListJson(m.phaseResults); });
    } else if (name == "rsiresult") {
        readOne<LMRSIResMng>(out, &doc, [](LMRSIResMng& m) { return rsiResultListJson(m.rsiResults); });
    } else if (name == "ptc") {
        readOne<PTCListMng>(out, &doc, [&](PTCListMng& m) { return recordListJson(RecordListView<PTC>{"ptc", m.ptcs, now}); });
    } else if (name == "obu") {
        readOne<PtcOBUListMng>(out, &doc, [&](PtcOBUListMng& m) { return recordListJson(RecordListView<OBU>{"obu", m.obus, now}); });
    } else if (name == "rsu") {
        readOne<PtcRSUListMng>(out, &doc, [&](PtcRSUListMng& m) { return recordListJson(RecordListView<RSU>{"rsu", m.rsus, now}); });
    } else if (name == "targets") {
        readOne<TargetMng>(out, &doc, [&](TargetMng& m) {
            Json view = recordListJson(RecordListView<TargetBase>{"targets", m.targets, now});
            kept->targets = view["records"];
            return view;
        }, findList("targets")->key);
    } else if (name == "collisions") {
        readOne<TgtCollisionMng>(out, &doc, [&](TgtCollisionMng& m) {
            return recordListJson(RecordListView<TgtCollision>{"collisions", m.collisions, now});
        });
    }
    return doc;
}

// The approach's signal state now, with the speed advice for each movement,
// when the vehicle was located on a node the map and lights still hold.
Json approachJson(const Kept& kept, double now)
{
    if (kept.location.getLatestRefreshTime() == 0.0) {
        return nullptr;
    }
    ApproachSignal signal;
    if (evalApproachSignal(kept.nodes, kept.location, kept.lights, now, &signal) != 1) {
        return nullptr;
    }
    double speed = std::isfinite(kept.fix.speed) && kept.fix.speed > 0.0f ? kept.fix.speed : 0.0;
    std::vector<SpeedAdvice> advice;
    if (adviseApproach(signal, kept.location, speed, &advice) < 0) {
        advice.clear();
    }
    Json out = signal;
    for (size_t i = 0; i < out.size(); ++i) {
        out[i]["advice"] = i < advice.size() ? Json(advice[i]) : Json(nullptr);
    }
    return Json{{"lightReceived", signal.lightReceived}, {"movements", out}};
}

}  // namespace

const std::vector<std::string>& servedLists()
{
    static const std::vector<std::string> names = {"gnss", "trace", "vehicle", "map", "lights", "rsi", "location",
        "phaseresult", "rsiresult", "ptc", "obu", "rsu", "targets", "collisions"};
    return names;
}

int takeSnapshot(double now, LiveSnapshot* out)
{
    try {
        LiveSnapshot snap;
        snap.takenAt = now;
        Kept kept;
        Json lists = Json::array();
        Json absent = Json::array();
        Json views = Json::object();
        for (const std::string& name : servedLists()) {
            LiveList list;
            list.name = name;
            Json doc = readList(name, now, &kept, &list);
            double stamp = list.read ? newestStamp(doc) : 0.0;
            lists.push_back({{"name", name}, {"present", list.present}, {"read", list.read},
                             {"ageSeconds", stamp > 0.0 ? jsonNumber(std::round((now - stamp) * 10) / 10) : Json()}});
            if (!list.present) {
                absent.push_back(name);
                doc = Json{{"list", name}, {"present", false}};
            } else if (!list.read) {
                doc = Json{{"list", name}, {"present", true}, {"read", false}};
            }
            if (name == "location" || name == "gnss") {
                views[name] = list.read ? doc : Json();
            }
            list.json = jsonText(doc);
            snap.lists.push_back(std::move(list));
        }
        int drawn = drawCurrentMap(&snap.svg, DrawOptions{}, now);
        Json state{{"takenAt", jsonNumber(now)}, {"lists", lists}, {"absent", absent},
                   {"fix", views["gnss"].is_object() ? views["gnss"]["fix"] : Json()},
                   {"location", views["location"]}, {"approach", approachJson(kept, now)},
                   {"targets", kept.targets}, {"drawn", drawn}};
        snap.state = jsonText(state);
        *out = std::move(snap);
        return 1;
    } catch (const std::exception&) {
        return -1;
    }
}
