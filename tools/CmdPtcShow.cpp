// v2xshm show ptc | obu | rsu | targets [--key KEY] | collisions
// v2xshm targets build [--key KEY]
//
// The road around the vehicle as the unit's processes see it, and an
// advising process's step that turns the participants into targets with
// their distance and bearing from the own vehicle's latest fix.
#include "Commands.h"

#include <iostream>

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
#include "v2xshm-unit/TargetBuild.h"

namespace {

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

// Reads one participant list into *out; false (having said why) if it fails.
template <typename Mng, typename Rec>
bool readParticipants(const char* name, std::vector<Rec> Mng::*local, std::vector<Rec>* out)
{
    Mng mng(false);
    if (guarded(name, [&] { return mng.update(); }) != 1) {
        failure(std::string("could not read the ") + name + " list");
        return false;
    }
    out->swap(mng.*local);
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
    std::vector<PTC> ptcs;
    std::vector<OBU> obus;
    std::vector<RSU> rsus;
    if (!readParticipants("ptc", &PTCListMng::ptcs, &ptcs) || !readParticipants("obu", &PtcOBUListMng::obus, &obus) ||
        !readParticipants("rsu", &PtcRSUListMng::rsus, &rsus)) {
        return EXIT_FAILURE_CODE;
    }
    TargetMng targets(key, false);
    int published = buildTargets(gnss.gnss, ptcs, obus, rsus, &targets);
    if (published == -2) {
        return failure("no own fix stored yet; push one with 'v2xshm gnss push'");
    }
    if (published < 0) {
        return failure("could not build the targets");
    }
    if (guarded("targets", [&] { return publishTargets(&targets); }) != 1) {
        return failure("could not write the target list");
    }
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
