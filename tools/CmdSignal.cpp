// v2xshm signal load FILE | signal age | rsi load FILE [--source TEXT] | rsi age
//
// The light list and the RSI list as a receiving process uses them: `load`
// checks a received message file, decodes it and puts its records into the
// shared list in place; `age` drops what was not refreshed for 10 s.
// Showing them is in CmdSignalShow.cpp; the signal state and road-side
// information of the vehicle's approach are the unit layer's (CmdLocate.cpp).
#include "Commands.h"
#include "JsonText.h"
#include "ReceivedLists.h"

#include <cstdint>
#include <cstring>
#include <iostream>
#include <map>
#include <vector>

#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

namespace {

using LightMap = std::map<int64_t, LMTrafficLightExtend>;

// ---- loading a received list ----

// The file's bytes, or an error message.
bool readFile(const std::string& file, const char* what, std::vector<char>* bytes, std::string* error)
{
    if (!readBoundedFile(file, (size_t)LMTLListMng::SHM_SIZE, bytes, error)) {
        return false;
    }
    if (bytes->empty()) {
        *error = file + ": empty, not " + what;
        return false;
    }
    return true;
}

int signalLoad(const ToolArgs& args)
{
    if (args.words.size() != 2) {
        return usageError("usage: signal load FILE");
    }
    const std::string& file = args.words[1];
    std::vector<char> bytes;
    std::string error;
    if (!readFile(file, "a light list", &bytes, &error)) {
        return usageError(error);
    }
    int size = (int)bytes.size();
    std::string verdict = checkReceived(Received::LIGHTS, bytes, "file");
    if (!verdict.empty()) {
        return usageError(file + ": " + verdict);
    }
    if (!requireOwner(*findList("lights"))) {
        return EXIT_FAILURE_CODE;
    }
    LMTLListMng mng(false);
    LightMap incoming;
    verdict = insertLightMessage(mng, bytes, &incoming);
    if (!verdict.empty()) {
        return failure(file + ": " + verdict);
    }
    if (args.json) {
        Json ids = Json::array();
        for (const auto& e : incoming) {
            ids.push_back(e.first);
        }
        printJson(Json{{"file", file}, {"bytes", size}, {"lights", ids}});
        return EXIT_OK;
    }
    std::cout << "loaded " << file << " (" << size << " bytes): " << incoming.size()
              << " lights, replacing their earlier copies in the light list" << std::endl;
    for (const auto& e : incoming) {
        std::cout << "  light of node " << e.first << ": " << e.second.phases.size() << " phases" << std::endl;
    }
    return EXIT_OK;
}

int rsiLoad(const ToolArgs& args)
{
    std::string source = "file";
    std::vector<std::string> words = args.words;
    if (words.size() == 4 && words[2] == "--source") {
        source = words[3];
        words.resize(2);
    }
    if (words.size() != 2) {
        return usageError("usage: rsi load FILE [--source TEXT]");
    }
    if (source.empty() || source.size() > (size_t)LMRSIBase::SOURCE_LEN || source.find('\0') != std::string::npos) {
        return usageError("source '" + source + "' must be 1 to 16 characters");
    }
    const std::string& file = words[1];
    std::vector<char> bytes;
    std::string error;
    if (!readFile(file, "an RSI list", &bytes, &error)) {
        return usageError(error);
    }
    int size = (int)bytes.size();
    std::string verdict = checkReceived(Received::RSI, bytes, "file");
    if (!verdict.empty()) {
        return usageError(file + ": " + verdict);
    }
    if (!requireOwner(*findList("rsi"))) {
        return EXIT_FAILURE_CODE;
    }
    LMRSIListMng mng(false);
    size_t added = 0;
    verdict = insertRsiMessage(mng, bytes, source, &added);
    if (!verdict.empty()) {
        return failure(file + ": " + verdict);
    }
    if (args.json) {
        printJson(Json{{"file", file}, {"bytes", size}, {"source", source}, {"records", mng.records.size()},
                       {"updated", mng.records.size() - added}, {"added", added}});
        return EXIT_OK;
    }
    std::cout << "loaded " << file << " (" << size << " bytes) from source " << source << ": " << mng.records.size()
              << " records, " << mng.records.size() - added << " updated in place, " << added << " added"
              << std::endl;
    return EXIT_OK;
}

// Runs a list's refreshList on the live image, noting the count on either
// side within the same lock.
struct AgeRun {
    int (*refresh)(void*, void*);
    int32_t before;
    int32_t after;
};

int ageAndCount(void* image, void* arg)
{
    AgeRun* run = static_cast<AgeRun*>(arg);
    memcpy(&run->before, image, sizeof run->before);
    int rc = run->refresh(image, nullptr);
    memcpy(&run->after, image, sizeof run->after);
    return rc;
}

template <typename Mng>
int ageList(const ToolArgs& args, const char* listName, const char* what)
{
    if (args.words.size() != 1) {
        return usageError(std::string("usage: ") + (strcmp(listName, "lights") == 0 ? "signal" : "rsi") + " age");
    }
    if (!requireOwner(*findList(listName))) {
        return EXIT_FAILURE_CODE;
    }
    Mng mng(false);
    AgeRun run{Mng::refreshList, 0, 0};
    guardLockWait(listName);
    int rc = mng.operateSHMNotSafe(ageAndCount, &run);
    releaseLockGuard();
    if (rc != 1) {
        return failure(std::string("the ") + listName + " list did not decode; nothing was aged");
    }
    if (args.json) {
        printJson(Json{{"before", run.before}, {"after", run.after}, {"maxAgeSeconds", 10}});
    } else {
        std::cout << "aged the " << listName << " list: " << run.before << " " << what << " before, " << run.after
                  << " after (" << run.before - run.after << " not refreshed for more than 10.0 s dropped)"
                  << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdSignal(const ToolArgs& args)
{
    std::string sub = args.words.empty() ? "" : args.words[0];
    if (sub == "load") return signalLoad(args);
    if (sub == "age") return ageList<LMTLListMng>(args, "lights", "lights");
    return usageError("usage: signal load FILE | signal age");
}

int cmdRsi(const ToolArgs& args)
{
    std::string sub = args.words.empty() ? "" : args.words[0];
    if (sub == "load") return rsiLoad(args);
    if (sub == "age") return ageList<LMRSIListMng>(args, "rsi", "records");
    return usageError("usage: rsi load FILE [--source TEXT] | rsi age");
}

