// v2xshm status: the segment map and what the kernel holds for each list.
#include "Commands.h"

#include <cstdio>
#include <iostream>

#include "StatusJson.h"

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

}  // namespace

int cmdStatus(bool json)
{
    std::vector<ListProbe> probes;
    for (const ListInfo& list : knownLists()) {
        probes.push_back(probeList(list));
    }
    if (json) {
        std::vector<ListStatus> lists;
        for (size_t i = 0; i < probes.size(); ++i) {
            const ListInfo& list = knownLists()[i];
            const ListProbe& p = probes[i];
            lists.push_back({list.name, list.manager, list.key, list.size, p.segment, p.segmentSize, p.attached,
                             semStateName(p.sem), p.waiting, p.owned()});
        }
        printJson(StatusView{lists});
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
