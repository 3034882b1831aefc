// v2xshm ptc push | obu push | rsu push [...]; ptc age
// v2xshm show ptc | obu | rsu | targets [--key KEY] | collisions
// v2xshm targets build [--key KEY]; id next
//
// The road around the vehicle as the unit's processes see it: a receiving
// process inserts or refreshes one participant at a time in its list, an
// ageing task drops those not heard of for 2 s, an advising process turns
// the participants into targets with their distance and bearing from the own
// vehicle's latest fix, and any process draws a device-wide identifier.
#include "Commands.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>

#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PTCListMng.h"
#include "ptc/PtcOBUListMng.h"
#include "ptc/PtcRSUListMng.h"
#include "ptc/TargetMng.h"
#include "ptc/TgtCollisionMng.h"
#include "shm/TimeTool.h"
#include "space/DevGNSSMng.h"

namespace {

constexpr double PI = 3.141592653589793;
constexpr int DEFAULT_TARGET_KEY = 77502;  // the tool's own target list
// Target type codes the tool gives, by the list a target came from.
constexpr unsigned char TGT_PTC = 1, TGT_OBU = 2, TGT_RSU = 3;

// ---- text ----

std::string fixed(double value, int decimals)
{
    char buf[64];
    snprintf(buf, sizeof buf, "%.*f", decimals, value);
    return buf;
}

std::string num(double value)
{
    if (!std::isfinite(value)) {
        return "null";
    }
    return value == std::floor(value) && std::fabs(value) < 1e15 ? fixed(value, 0) : formatDouble(value);
}

std::string numF(float value)
{
    if (std::isfinite(value) && value == std::floor(value) && std::fabs(value) < 1e7f) {
        return fixed(value, 0);
    }
    char buf[32];
    for (int digits = 1; digits <= 9; ++digits) {
        snprintf(buf, sizeof buf, "%.*g", digits, (double)value);
        if (strtof(buf, nullptr) == value) {
            break;
        }
    }
    return std::isfinite(value) ? std::string(buf) : "null";
}

// A fixed-width text field up to its first zero, bytes that do not print as '?'.
std::string textOf(const char* field, size_t width)
{
    std::string out(field, strnlen(field, width));
    for (char& c : out) {
        if ((unsigned char)c < 0x20 || (unsigned char)c >= 0x7f) {
            c = '?';
        }
    }
    return out;
}

// The part every participant and target shows: identifiers, position,
// speed, heading and age.
std::string baseText(const IF_PTCBase& p, double now)
{
    double lon = p.gnss.position.longitude, lat = p.gnss.position.latitude, stamp = p.latestRefreshTime;
    return "local " + std::to_string(p.localID) + "  id \"" + textOf(p.id, IF_PTCBase::ID_LEN) + "\"  lon " +
           fixed(lon, 7) + ", lat " + fixed(lat, 7) + "  speed " + numF(p.gnss.speed) + " m/s  heading " +
           numF(p.gnss.heading) + " deg  age " + fixed(now - stamp, 3) + " s";
}

std::string baseJson(const IF_PTCBase& p, double now)
{
    double stamp = p.latestRefreshTime;
    return "\"localID\":" + std::to_string(p.localID) + ",\"id\":" + jsonString(textOf(p.id, IF_PTCBase::ID_LEN)) +
           ",\"longitude\":" + num(p.gnss.position.longitude) + ",\"latitude\":" + num(p.gnss.position.latitude) +
           ",\"speed\":" + numF(p.gnss.speed) + ",\"heading\":" + numF(p.gnss.heading) + ",\"refreshTime\":" +
           num(stamp) + ",\"age\":" + num(now - stamp);
}

std::string extraText(const PTC& p)
{
    return "ptcID " + std::to_string(p.ptcID) + "  source " + std::to_string(p.source) + "  sourceID \"" +
           textOf(p.sourceID, PTC::TEXT_LEN) + "\"  type " + std::to_string(p.ptcType) + "  ";
}
std::string extraJson(const PTC& p)
{
    return "\"ptcID\":" + std::to_string(p.ptcID) + ",\"source\":" + std::to_string(p.source) + ",\"sourceID\":" +
           jsonString(textOf(p.sourceID, PTC::TEXT_LEN)) + ",\"ptcType\":" + std::to_string(p.ptcType) + ",";
}
std::string extraText(const IF_PTCBase&) { return ""; }
std::string extraJson(const IF_PTCBase&) { return ""; }

std::string bearingText(double angle)
{
    double deg = angle * 180.0 / PI;
    if (std::fabs(deg) < 0.05) {
        deg = 0.0;  // no "-0.0"
    }
    return fixed(deg, 1) + " deg" + (std::fabs(deg) < 0.05 ? " (ahead)" : deg > 0 ? " (right)" : " (left)");
}

std::string targetExtraText(const TargetBase& t)
{
    double distance = t.distance;
    return "type " + std::to_string(t.tgtType) + "  distance " +
           (distance == TargetBase::DISTANCE_NONE ? std::string("unknown") : fixed(distance, 1) + " m") +
           "  bearing " + bearingText(t.angle) + "  ";
}
std::string targetExtraJson(const TargetBase& t)
{
    return "\"tgtType\":" + std::to_string(t.tgtType) + ",\"distance\":" + num(t.distance) + ",\"angle\":" +
           num(t.angle) + ",";
}

// ---- lists ----

// Only with an owner may a non-owner manager be made: it would otherwise
// create the segment, or wait for a lock nobody frees.
bool ready(const ListInfo& list)
{
    if (!requireOwner(list)) {
        return false;
    }
    if (probeList(list).segmentSize < list.size) {
        failure(std::string("segment of list ") + list.name + " is smaller than the list's " +
                std::to_string(list.size) + " bytes");
        return false;
    }
    return true;
}

template <typename Fn>
int guarded(const char* name, Fn fn)
{
    guardLockWait(name);
    int rc = fn();
    releaseLockGuard();
    return rc;
}

// The list for `show targets` / `targets build`: the tool's default key or --key.
ListInfo targetList(int key)
{
    return {"targets", "TargetMng", key, TargetMng::SHM_SIZE};
}

// Reads "--name value" pairs into *out. Known names only, each once.
std::string parseOptions(const std::vector<std::string>& words, size_t from, const std::vector<std::string>& known,
                         std::map<std::string, std::string>* out)
{
    for (size_t i = from; i < words.size(); i += 2) {
        std::string name = words[i].compare(0, 2, "--") == 0 ? words[i].substr(2) : "";
        bool isKnown = false;
        for (const std::string& k : known) {
            isKnown = isKnown || name == k;
        }
        if (!isKnown) {
            return "unknown option: " + words[i];
        }
        if (i + 1 >= words.size()) {
            return words[i] + " needs a value";
        }
        if (out->count(name) != 0) {
            return words[i] + " given twice";
        }
        (*out)[name] = words[i + 1];
    }
    return "";
}

// The option as a number in [lo, hi] (whole when `whole`); def when absent.
std::string numberOption(const std::map<std::string, std::string>& opts, const std::string& name, double lo,
                         double hi, bool whole, double def, double* out)
{
    auto found = opts.find(name);
    if (found == opts.end()) {
        *out = def;
        return std::isnan(def) ? "missing --" + name : "";
    }
    const std::string& text = found->second;
    char* end = nullptr;
    double value = text.empty() || isspace((unsigned char)text[0]) ? NAN : strtod(text.c_str(), &end);
    if (end == nullptr || *end != '\0' || !std::isfinite(value) || value < lo || value > hi ||
        (whole && value != std::floor(value))) {
        return "--" + name + " '" + text + "' is not " + (whole ? "a whole number" : "a number") + " in [" +
               num(lo) + ", " + num(hi) + "]";
    }
    *out = value;
    return "";
}

std::string textOption(const std::map<std::string, std::string>& opts, const std::string& name, bool required,
                       char* field, size_t width)
{
    auto found = opts.find(name);
    if (found == opts.end()) {
        return required ? "missing --" + name : "";
    }
    if (found->second.size() > width) {
        return "--" + name + " '" + found->second + "' is longer than " + std::to_string(width) + " characters";
    }
    memcpy(field, found->second.data(), found->second.size());
    return "";
}

// The key option of show targets / targets build.
std::string keyOption(const std::vector<std::string>& words, int* key)
{
    std::map<std::string, std::string> opts;
    std::string bad = parseOptions(words, 0, {"key"}, &opts);
    double value;
    if (bad.empty()) {
        bad = numberOption(opts, "key", 1, 2147483647.0, true, DEFAULT_TARGET_KEY, &value);
    }
    *key = (int)value;
    return bad;
}

// ---- push ----

// Fills the fix of a pushed participant; an empty string when the options are valid.
std::string fillFix(const std::map<std::string, std::string>& opts, IF_PTCBase* p)
{
    double lon, lat, speed, heading;
    std::string bad = numberOption(opts, "lon", -180, 180, false, NAN, &lon);
    if (bad.empty()) bad = numberOption(opts, "lat", -90, 90, false, NAN, &lat);
    if (bad.empty()) bad = numberOption(opts, "speed", 0, 1000, false, 0, &speed);
    if (bad.empty()) bad = numberOption(opts, "heading", 0, 359.999, false, 0, &heading);
    if (!bad.empty()) {
        return bad;
    }
    p->gnss.position.longitude = lon;
    p->gnss.position.latitude = lat;
    p->gnss.position.lonHemisphere = lon < 0 ? 'W' : 'E';
    p->gnss.position.latHemisphere = lat < 0 ? 'S' : 'N';
    p->gnss.speed = (float)speed;
    p->gnss.heading = (float)heading;
    p->gnss.refreshTime();
    p->gnss.refreshMovable2D();
    return "";
}

template <typename Mng, typename Rec>
int pushRecord(const char* listName, Rec* rec, const ToolArgs& args)
{
    if (!ready(*findList(listName))) {
        return EXIT_FAILURE_CODE;
    }
    Mng mng(false);
    int rc = guarded(listName, [&] { return mng.operateSHMNotSafe(Mng::insertUpdateList, rec); });
    if (rc < 0) {
        return failure(std::string("list ") + listName + " is full; nothing was written");
    }
    const char* what = rc == 2 ? "inserted" : "refreshed";
    if (args.json) {
        std::cout << "{\"list\":" << jsonString(listName) << ",\"result\":\"" << what << "\",\"localID\":"
                  << rec->localID << "}" << std::endl;
    } else {
        std::cout << what << " in " << listName << ": " << extraText(*rec) << "id \""
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
        if (!ready(*findList(name))) {
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
        std::cout << "{";
        for (int i = 0; i < 3; ++i) {
            std::cout << (i ? "," : "") << "\"" << names[i] << "\":{\"before\":" << counts[i].before
                      << ",\"after\":" << counts[i].after << "}";
        }
        std::cout << ",\"maxAgeSeconds\":2}" << std::endl;
        return EXIT_OK;
    }
    std::cout << "aged the participant lists (records not refreshed for more than 2.0 s dropped):";
    for (int i = 0; i < 3; ++i) {
        std::cout << (i ? ", " : " ") << names[i] << " " << counts[i].before << " -> " << counts[i].after;
    }
    std::cout << std::endl;
    return EXIT_OK;
}

// ---- show ----

template <typename Rec, typename TextFn, typename JsonFn>
int printRecords(const std::string& name, const std::string& title, const std::vector<Rec>& recs, bool json,
                 TextFn text, JsonFn js)
{
    double now = TimeTool::getPreciseTimeNow();
    if (json) {
        std::cout << "{\"list\":" << jsonString(name) << ",\"count\":" << recs.size() << ",\"records\":[";
        for (size_t i = 0; i < recs.size(); ++i) {
            std::cout << (i ? "," : "") << "{" << js(recs[i]) << baseJson(recs[i], now) << "}";
        }
        std::cout << "]}" << std::endl;
        return EXIT_OK;
    }
    std::cout << title << ": " << recs.size() << (recs.size() == 1 ? " record" : " records") << "\n";
    for (const Rec& r : recs) {
        std::cout << "  " << text(r) << baseText(r, now) << "\n";
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
    if (!ready(*findList(name))) {
        return EXIT_FAILURE_CODE;
    }
    Mng mng(false);
    if (guarded(name, [&] { return mng.update(); }) != 1) {
        return failure(std::string("could not read the ") + name + " list");
    }
    return printRecords(name, name, mng.*local, args.json, [](const Rec& r) { return extraText(r); },
                        [](const Rec& r) { return extraJson(r); });
}

int showTargets(const ToolArgs& args)
{
    int key;
    std::string bad = keyOption(args.words, &key);
    if (!bad.empty()) {
        return usageError(bad + " (usage: show targets [--key KEY])");
    }
    ListInfo list = targetList(key);
    if (!ready(list)) {
        return EXIT_FAILURE_CODE;
    }
    TargetMng mng(key, false);
    if (guarded("targets", [&] { return mng.update(); }) != 1) {
        return failure("could not read the target list");
    }
    return printRecords("targets", "targets (key " + std::to_string(key) + ")", mng.targets, args.json, targetExtraText,
                        targetExtraJson);
}

int showCollisions(const ToolArgs& args)
{
    if (!args.words.empty()) {
        return usageError("usage: show collisions");
    }
    if (!ready(*findList("collisions"))) {
        return EXIT_FAILURE_CODE;
    }
    TgtCollisionMng mng(false);
    if (guarded("collisions", [&] { return mng.update(); }) != 1) {
        return failure("could not read the collisions list");
    }
    auto text = [](const TgtCollision& c) {
        double figure = c.collision;
        return targetExtraText(c) + "collision " +
               (figure == TgtCollision::COLLISION_NONE ? std::string("none") : num(figure)) + "  ";
    };
    auto js = [](const TgtCollision& c) { return targetExtraJson(c) + "\"collision\":" + num(c.collision) + ","; };
    return printRecords("collisions", "collisions", mng.collisions, args.json, text, js);
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
        if (!ready(*findList(name))) {
            return EXIT_FAILURE_CODE;
        }
    }
    if (!ready(list)) {
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
    return printRecords("targets", "targets (key " + std::to_string(key) + ")", targets.targets, args.json, targetExtraText,
                        targetExtraJson);
}

// ---- id next ----

int idNext(const ToolArgs& args)
{
    if (args.words.size() != 1 || args.words[0] != "next") {
        return usageError("usage: id next");
    }
    if (!ready(*findList("givenid"))) {
        return EXIT_FAILURE_CODE;
    }
    DevPTCGivenIDMng mng(false);
    unsigned short id = guarded("givenid", [&] { return (int)mng.getPTCGivenID(); });
    if (args.json) {
        std::cout << "{\"givenID\":" << id << "}" << std::endl;
    } else {
        std::cout << "device-wide participant id " << id << std::endl;
    }
    return EXIT_OK;
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

int cmdTargets(const ToolArgs& args)
{
    if (args.words.empty() || args.words[0] != "build") {
        return usageError("usage: targets build [--key KEY]");
    }
    return targetsBuild(args);
}

int cmdId(const ToolArgs& args)
{
    return idNext(args);
}
