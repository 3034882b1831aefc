// v2xshm ptc push | obu push | rsu push [...]; ptc age; id next
//
// The writes of the road around the vehicle: a receiving process inserts or
// refreshes one participant at a time in its list, an ageing task drops
// those not heard of for 2 s, and any process draws a device-wide
// identifier.
#include "Commands.h"

#include <cmath>
#include <cstring>
#include <iostream>
#include <map>

#include "ListAccess.h"
#include "PtcJson.h"
#include "PtcOptions.h"
#include "PtcText.h"
#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"

namespace {

// ---- push ----

template <typename Mng, typename Rec>
int pushRecord(const char* listName, Rec* rec, const ToolArgs& args)
{
    if (!listReady(listName)) {
        return EXIT_FAILURE_CODE;
    }
    Mng mng(false);
    int rc = guarded(listName, [&] { return mng.operateSHMNotSafe(Mng::insertUpdateList, rec); });
    if (rc < 0) {
        return failure(std::string("list ") + listName + " is full; nothing was written");
    }
    const char* what = rc == 2 ? "inserted" : "refreshed";
    if (args.json) {
        printJson(PushResult{listName, rc == 2, rec->localID});
    } else {
        std::cout << what << " in " << listName << ": " << headText(*rec) << "id \""
                  << textOf(rec->id, IF_PTCBase::ID_LEN) << "\", local id " << rec->localID << std::endl;
    }
    return EXIT_OK;
}

int push(const std::string& list, const ToolArgs& args)
{
    std::vector<std::string> known = {"id", "lon", "lat", "speed", "heading"};
    if (list == "ptc") {
        known.insert(known.end(), {"ptc-id", "source", "source-id", "type"});
    }
    std::string usage = list == "ptc" ? "usage: ptc push --ptc-id N --source N --source-id TEXT [--type N] [--id TEXT] "
                                        "--lon X --lat Y [--speed V] [--heading H]"
                                      : "usage: " + list + " push --id TEXT --lon X --lat Y [--speed V] [--heading H]";
    std::map<std::string, std::string> opts;
    std::string bad = parseOptions(args.words, 1, known, &opts);
    if (list == "ptc") {
        PTC p;
        double ptcID = 0, source = 0, type = 0;
        if (bad.empty()) bad = numberOption(opts, "ptc-id", 0, 65535, true, NAN, &ptcID);
        if (bad.empty()) bad = numberOption(opts, "source", 0, 255, true, NAN, &source);
        if (bad.empty()) bad = numberOption(opts, "type", 0, 255, true, 0, &type);
        if (bad.empty()) bad = textOption(opts, "source-id", true, p.sourceID, PTC::TEXT_LEN);
        if (bad.empty()) bad = textOption(opts, "id", false, p.id, IF_PTCBase::ID_LEN);
        if (bad.empty()) bad = fillFix(opts, &p);
        if (!bad.empty()) {
            return usageError(bad + " (" + usage + ")");
        }
        p.ptcID = (uint16_t)ptcID;
        p.source = (uint8_t)source;
        p.ptcType = (uint8_t)type;
        return pushRecord<PTCListMng>("ptc", &p, args);
    }
    IF_PTCBase base;
    if (bad.empty()) bad = textOption(opts, "id", true, base.id, IF_PTCBase::ID_LEN);
    if (bad.empty()) bad = fillFix(opts, &base);
    if (!bad.empty()) {
        return usageError(bad + " (" + usage + ")");
    }
    if (list == "obu") {
        OBU o;
        memcpy((void*)&o, (const void*)&base, sizeof base);
        return pushRecord<PtcOBUListMng>("obu", &o, args);
    }
    RSU r;
    memcpy((void*)&r, (const void*)&base, sizeof base);
    return pushRecord<PtcRSUListMng>("rsu", &r, args);
}

// ---- age ----

struct AgeCounts {
    int before = 0;
    int after = 0;
};

template <typename Mng>
int ageAndCount(void* list, void* arg)
{
    AgeCounts* counts = (AgeCounts*)arg;
    counts->before = Mng::Tool::listedCount(list);
    int rc = Mng::refreshList(list, nullptr);
    counts->after = Mng::Tool::listedCount(list);
    return rc;
}

template <typename Mng>
int ageOne(const char* name, AgeCounts* counts)
{
    Mng mng(false);
    return guarded(name, [&] { return mng.operateSHMNotSafe(ageAndCount<Mng>, counts); });
}

int age(const ToolArgs& args)
{
    if (args.words.size() != 1) {
        return usageError("usage: ptc age");
    }
    for (const char* name : {"ptc", "obu", "rsu"}) {
        if (!listReady(name)) {
            return EXIT_FAILURE_CODE;
        }
    }
    AgeCounts counts[3];
    if (ageOne<PTCListMng>("ptc", &counts[0]) != 1 || ageOne<PtcOBUListMng>("obu", &counts[1]) != 1 ||
        ageOne<PtcRSUListMng>("rsu", &counts[2]) != 1) {
        return failure("could not age the participant lists");
    }
    const char* names[] = {"ptc", "obu", "rsu"};
    if (args.json) {
        std::vector<AgedList> lists;
        for (int i = 0; i < 3; ++i) {
            lists.push_back({names[i], counts[i].before, counts[i].after});
        }
        printJson(AgeingView{lists, 2.0});
        return EXIT_OK;
    }
    std::cout << "aged the participant lists (records not refreshed for more than 2.0 s dropped):";
    for (int i = 0; i < 3; ++i) {
        std::cout << (i ? ", " : " ") << names[i] << " " << counts[i].before << " -> " << counts[i].after;
    }
    std::cout << std::endl;
    return EXIT_OK;
}

// ---- id next ----

int idNext(const ToolArgs& args)
{
    if (args.words.size() != 1 || args.words[0] != "next") {
        return usageError("usage: id next");
    }
    if (!listReady("givenid")) {
        return EXIT_FAILURE_CODE;
    }
    DevPTCGivenIDMng mng(false);
    unsigned short id = guarded("givenid", [&] { return (int)mng.getPTCGivenID(); });
    if (args.json) {
        printJson(GivenId{id});
    } else {
        std::cout << "device-wide participant id " << id << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdParticipant(const std::string& list, const ToolArgs& args)
{
    if (!args.words.empty() && args.words[0] == "push") {
        return push(list, args);
    }
    if (list == "ptc" && !args.words.empty() && args.words[0] == "age") {
        return age(args);
    }
    return usageError(list == "ptc" ? "usage: ptc push [...] | ptc age" : "usage: " + list + " push [...]");
}

int cmdId(const ToolArgs& args)
{
    return idNext(args);
}
