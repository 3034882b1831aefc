// v2xshm show ptc | obu | rsu | targets [--key KEY] | collisions
// v2xshm targets build [--key KEY]
//
// The road around the vehicle as the unit's processes see it, and an
// advising process's step that turns the participants into targets with
// their distance and bearing from the own vehicle's latest fix.
#include "Commands.h"

#include <algorithm>
#include <iostream>
#include <type_traits>

#include "ListAccess.h"
#include "PtcJson.h"
#include "PtcOptions.h"
#include "PtcText.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"

namespace {

// Target type codes the tool gives, by the list a target came from.
constexpr unsigned char TGT_PTC = 1, TGT_OBU = 2, TGT_RSU = 3;

// One list, as text or JSON, its records seen now.
template <typename Rec>
int printRecords(const char* name, const std::string& title, const std::vector<Rec>& recs, bool json)
{
    double now = TimeTool::getPreciseTimeNow();
    if (json) {
        printJson(RecordListView<Rec>{name, recs, now});
        return EXIT_OK;
    }
    std::cout << title << ": " << recs.size() << (recs.size() == 1 ? " record" : " records") << "\n";
    for (const Rec& r : recs) {
        std::cout << "  " << headText(r) << baseText(r, now) << "\n";
    }
    std::cout.flush();
    return EXIT_OK;
}

template <typename Mng, typename Rec>
int showParticipants(const char* name, std::vector<Rec> Mng::*local, const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError(std::string("usage: show ") + name);
    }
    if (!listReady(name)) {
        return EXIT_FAILURE_CODE;
    }
    Mng mng(false);
    if (guarded(name, [&] { return mng.update(); }) != 1) {
        return failure(std::string("could not read the ") + name + " list");
    }
    return printRecords(name, name, mng.*local, args.json);
}

int showTargets(const ToolArgs& args)
{
    int key;
    std::string bad = keyOption(args.words, &key);
    if (!bad.empty()) {
        return usageError(bad + " (usage: show targets [--key KEY])");
    }
    ListInfo list = targetList(key);
    if (!listReady(list)) {
        return EXIT_FAILURE_CODE;
    }
    TargetMng mng(key, false);
    if (guarded("targets", [&] { return mng.update(); }) != 1) {
        return failure("could not read the target list");
    }
    return printRecords("targets", "targets (key " + std::to_string(key) + ")", mng.targets, args.json);
}

int showCollisions(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show collisions");
    }
    if (!listReady("collisions")) {
        return EXIT_FAILURE_CODE;
    }
    TgtCollisionMng mng(false);
    if (guarded("collisions", [&] { return mng.update(); }) != 1) {
        return failure("could not read the collisions list");
    }
    return printRecords("collisions", "collisions", mng.collisions, args.json);
}

// ---- targets build ----

template <typename Mng, typename Rec>
bool addTargets(const char* name, std::vector<Rec> Mng::*local, GNSS& own, unsigned char type, TargetMng* out)
{
    Mng mng(false);
    if (guarded(name, [&] { return mng.update(); }) != 1) {
        failure(std::string("could not read the ") + name + " list");
        return false;
    }
    for (Rec& r : mng.*local) {
        VehClass* cls = nullptr;
        if constexpr (!std::is_same<Rec, RSU>::value) {
            cls = &r.vehClass;
        }
        out->insertTgt(own, &r, type, cls);
    }
    return true;
}

int targetsBuild(const ToolArgs& args)
{
    int key;
    std::vector<std::string> rest(args.words.begin() + 1, args.words.end());
    std::string bad = keyOption(rest, &key);
    if (!bad.empty()) {
        return usageError(bad + " (usage: targets build [--key KEY])");
    }
    ListInfo list = targetList(key);
    for (const char* name : {"gnss", "ptc", "obu", "rsu"}) {
        if (!listReady(name)) {
            return EXIT_FAILURE_CODE;
        }
    }
    if (!listReady(list)) {
        return EXIT_FAILURE_CODE;
    }
    DevGNSSMng gnss(false);
    if (guarded("gnss", [&] { return gnss.update(); }) != 1) {
        return failure("could not read the gnss list");
    }
    GNSS own = gnss.gnss;
    if (own.latestRefreshTime == 0.0) {
        return failure("no own fix stored yet; push one with 'v2xshm gnss push'");
    }
    own.refreshMovable2D();  // the bearing is taken from the fix's heading
    TargetMng targets(key, false);
    if (!addTargets<PTCListMng>("ptc", &PTCListMng::ptcs, own, TGT_PTC, &targets) ||
        !addTargets<PtcOBUListMng>("obu", &PtcOBUListMng::obus, own, TGT_OBU, &targets) ||
        !addTargets<PtcRSUListMng>("rsu", &PtcRSUListMng::rsus, own, TGT_RSU, &targets)) {
        return EXIT_FAILURE_CODE;
    }
    if (guarded("targets", [&] { return targets.commit(); }) != 1) {
        return failure("could not write the target list");
    }
    size_t published = std::min(targets.targets.size(), (size_t)TargetMng::CAPACITY);
    targets.targets.resize(published);
    if (!args.json) {
        std::cout << "published " << published << " of the participants as targets (key " << key << "):\n";
    }
    return printRecords("targets", "targets (key " + std::to_string(key) + ")", targets.targets, args.json);
}

}  // namespace

int cmdShowPtc(const std::string& what, const ToolArgs& args)
{
    if (what == "ptc") return showParticipants<PTCListMng, PTC>("ptc", &PTCListMng::ptcs, args);
    if (what == "obu") return showParticipants<PtcOBUListMng, OBU>("obu", &PtcOBUListMng::obus, args);
    if (what == "rsu") return showParticipants<PtcRSUListMng, RSU>("rsu", &PtcRSUListMng::rsus, args);
    if (what == "targets") return showTargets(args);
    return showCollisions(args);
}

int cmdTargets(const ToolArgs& args)
{
    if (args.words.empty() || args.words[0] != "build") {
        return usageError("usage: targets build [--key KEY]");
    }
    return targetsBuild(args);
}
