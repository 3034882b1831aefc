// v2xshm map load FILE | map age
//
// The local map as a receiving process uses it: `map load` decodes a
// received map message file with the checked decoder and merges its nodes
// into the shared list in place, `map age` drops nodes not refreshed for
// 10 s. Showing the map is in CmdMapShow.cpp, locating in CmdLocate.cpp.
#include "Commands.h"
#include "JsonText.h"

#include <cstdint>
#include <cstring>
#include <iostream>
#include <map>

#include "LocalMapFront.h"
#include "LocalMapJson.h"
#include "ReceivedLists.h"
#include "localmap/LMNodeListMng.h"

namespace {

using NodeMap = std::map<int64_t, LMNodeExtend>;

// ---- map load ----

struct MapTotals {
    size_t links = 0;
    size_t lanes = 0;
    size_t points = 0;
    size_t movements = 0;
};

MapTotals totalsOf(const NodeMap& nodes)
{
    MapTotals t;
    for (const auto& node : nodes) {
        for (const auto& entry : node.second.links) {
            const LMLinkExtend& link = entry.second;
            ++t.links;
            t.lanes += link.lanes.size();
            t.points += link.points.size();
            t.movements += link.movements.size();
            for (const auto& lane : link.lanes) {
                t.points += lane.second.points.size();
                t.movements += lane.second.movements.size();
            }
        }
    }
    return t;
}

int mapLoad(const ToolArgs& args)
{
    if (args.words.size() != 2) {
        return usageError("usage: map load FILE");
    }
    const std::string& file = args.words[1];
    std::vector<char> bytes;
    std::string error;
    if (!readBoundedFile(file, (size_t)LMNodeListMng::SHM_SIZE, &bytes, &error, "the map list's size")) {
        return usageError(error);
    }
    if (bytes.empty()) {
        return usageError(file + ": empty file, not a map message");
    }
    int size = (int)bytes.size();
    // Everything about the file is checked before any list is touched.
    std::string bad = checkReceived(Received::MAP, bytes, "file");
    if (!bad.empty()) {
        return usageError(file + ": " + bad);
    }
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    LMNodeListMng mng(false);
    bad = insertMapMessage(mng, bytes);
    if (!bad.empty()) {
        return failure(file + ": " + bad);
    }
    MapTotals t = totalsOf(mng.nodes);
    if (args.json) {
        Json ids = Json::array();
        for (const auto& node : mng.nodes) {
            ids.push_back(node.first);
        }
        printJson(Json{{"file", file}, {"bytes", size}, {"nodes", ids}, {"links", t.links}, {"lanes", t.lanes},
                       {"points", t.points}, {"movements", t.movements}});
        return EXIT_OK;
    }
    std::cout << "loaded " << file << " (" << size << " bytes): " << mng.nodes.size() << " nodes, " << t.links
              << " links, " << t.lanes << " lanes, " << t.points << " points, " << t.movements
              << " movements, merged into the map list" << std::endl;
    for (const auto& node : mng.nodes) {
        std::cout << "  node " << node.first << " \"" << withoutControls(fieldText(node.second.name, LMNodeBase::NAME_LEN))
                  << "\": " << node.second.links.size() << " links" << std::endl;
    }
    return EXIT_OK;
}

// ---- map age ----

struct AgeCounts {
    int32_t before = 0;
    int32_t after = 0;
};

// Runs refreshList on the live image, noting the node count on either side
// within the same lock.
int ageAndCount(void* image, void* arg)
{
    AgeCounts* counts = static_cast<AgeCounts*>(arg);
    memcpy(&counts->before, image, sizeof counts->before);
    int rc = LMNodeListMng::refreshList(image, nullptr);
    memcpy(&counts->after, image, sizeof counts->after);
    return rc;
}

int mapAge(const ToolArgs& args)
{
    if (args.words.size() != 1) {
        return usageError("usage: map age");
    }
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    LMNodeListMng mng(false);
    AgeCounts counts;
    guardLockWait("map");
    int rc = mng.operateSHMNotSafe(ageAndCount, &counts);
    releaseLockGuard();
    if (rc != 1) {
        return failure("the map list did not decode; nothing was aged");
    }
    if (args.json) {
        printJson(Json{{"before", counts.before}, {"after", counts.after},
                       {"maxAgeSeconds", jsonNumber(LMNodeListMng::NODE_MAX_AGE)}});
    } else {
        std::cout << "aged the map list: " << counts.before << " nodes before, " << counts.after << " after ("
                  << counts.before - counts.after << " not refreshed for more than "
                  << fixed(LMNodeListMng::NODE_MAX_AGE, 1) << " s dropped)" << std::endl;
    }
    return EXIT_OK;
}

}  // namespace

int cmdMap(const ToolArgs& args)
{
    if (args.words.empty()) {
        return usageError("usage: map load FILE | map age");
    }
    const std::string& sub = args.words[0];
    if (sub == "load") return mapLoad(args);
    if (sub == "age") return mapAge(args);
    return usageError("unknown map command: " + sub + " (load, age)");
}
