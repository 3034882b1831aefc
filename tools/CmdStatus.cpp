// v2xshm status: the segment map and what the kernel holds for each list.
#include "Commands.h"

#include <cstdio>
#include <iostream>

namespace {

std::string segmentText(const ListInfo& list, const ListProbe& probe)
{
    if (!probe.segment) {
        return "absent";
    }
    if (probe.segmentSize != list.size) {
        return "present (" + std::to_string(probe.segmentSize) + " B)";
    }
    return "present";
}

std::string semText(const ListProbe& probe)
{
    std::string text = semStateName(probe.sem);
    if (probe.waiting > 0) {
        text += " (" + std::to_string(probe.waiting) + " waiting)";
    }
    return text;
}

Json statusJson(const std::vector<ListProbe>& probes)
{
    Json lists = Json::array();
    for (size_t i = 0; i < probes.size(); ++i) {
        const ListInfo& list = knownLists()[i];
        const ListProbe& probe = probes[i];
        lists.push_back({{"name", list.name}, {"manager", list.manager}, {"key", list.key}, {"size", list.size},
                         {"segment", probe.segment}, {"segmentSize", probe.segmentSize},
                         {"attached", probe.attached}, {"semaphore", semStateName(probe.sem)},
                         {"waiting", probe.waiting}, {"owned", probe.owned()}});
    }
    return {{"lists", lists}};
}

}  // namespace

int cmdStatus(bool json)
{
    std::vector<ListProbe> probes;
    for (const ListInfo& list : knownLists()) {
        probes.push_back(probeList(list));
    }
    if (json) {
        printJson(statusJson(probes));
        return EXIT_OK;
    }
    printf("%-11s %-16s %6s %8s  %-18s %8s  %s\n", "list", "manager", "key", "size", "segment", "attached",
           "semaphore");
    for (size_t i = 0; i < probes.size(); ++i) {
        const ListInfo& list = knownLists()[i];
        const ListProbe& probe = probes[i];
        std::string attached = probe.segment ? std::to_string(probe.attached) : "-";
        printf("%-11s %-16s %6d %8d  %-18s %8s  %s\n", list.name, list.manager, list.key, list.size,
               segmentText(list, probe).c_str(), attached.c_str(), semText(probe).c_str());
    }
    fflush(stdout);
    return EXIT_OK;
}
