// v2xshm owner [LIST...] [--except LIST]...: create and own lists until
// SIGINT or SIGTERM.
#include "Commands.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <memory>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include "OwnerTable.h"
#include "StatusJson.h"

namespace {

// Refuses lists that a live owner already holds, or whose leftover segment
// is too small for the list: the owner would clear past its end.
int checkFreeToOwn(const ListInfo& list)
{
    ListProbe probe = probeList(list);
    if (probe.owned() && probe.attached > 0) {
        return failure(std::string("list ") + list.name + " already has an owner (" +
                       std::to_string(probe.attached) + " attached)");
    }
    if (probe.segment && probe.segmentSize < list.size) {
        return failure(std::string("segment of list ") + list.name + " (key " + std::to_string(list.key) +
                       ") has " + std::to_string(probe.segmentSize) + " bytes, the list needs " +
                       std::to_string(list.size) + "; remove it with 'ipcrm -M " +
                       std::to_string(list.key) + "'");
    }
    return EXIT_OK;
}

std::string joinNames(const std::vector<const ListInfo*>& lists)
{
    std::string out;
    for (const ListInfo* list : lists) {
        out += (out.empty() ? "" : " ") + std::string(list->name);
    }
    return out;
}

std::vector<std::string> namesOf(const std::vector<const ListInfo*>& lists)
{
    std::vector<std::string> names;
    for (const ListInfo* list : lists) {
        names.push_back(list->name);
    }
    return names;
}

// The lists called `names`, each once, in the order given.
int findLists(const std::vector<std::string>& names, std::vector<const ListInfo*>* out)
{
    for (const std::string& name : names) {
        const ListInfo* list = findList(name);
        if (list == nullptr) {
            std::string known;
            for (const ListInfo& each : knownLists()) {
                known += std::string(" ") + each.name;
            }
            return usageError("unknown list: " + name + " (known:" + known + ")");
        }
        if (std::find(out->begin(), out->end(), list) == out->end()) {
            out->push_back(list);
        }
    }
    return EXIT_OK;
}

}  // namespace

int cmdOwner(const std::vector<std::string>& names, const std::vector<std::string>& exceptNames, bool json)
{
    std::vector<const ListInfo*> lists, except;
    int bad = findLists(names, &lists);
    if (bad == EXIT_OK) {
        bad = findLists(exceptNames, &except);
    }
    if (bad != EXIT_OK) {
        return bad;
    }
    if (lists.empty()) {
        for (const ListInfo& list : knownLists()) {
            lists.push_back(&list);
        }
    }
    // Another process owns these on this unit.
    lists.erase(std::remove_if(lists.begin(), lists.end(),
                               [&](const ListInfo* list) {
                                   return std::find(except.begin(), except.end(), list) != except.end();
                               }),
                lists.end());
    if (lists.empty()) {
        return usageError("no list left to own");
    }
    for (const ListInfo* list : lists) {
        int rc = checkFreeToOwn(*list);
        if (rc != EXIT_OK) {
            return rc;
        }
    }

    // Blocked before anything is created: a stop request that arrives while
    // the lists are being set up is taken once they all stand, so nothing is
    // left half made.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    sigprocmask(SIG_BLOCK, &stopSignals, nullptr);

    std::vector<std::unique_ptr<IF_SHM>> owners;
    for (const ListInfo* list : lists) {
        owners.push_back(makeOwnerManager(*list));
        if (!probeList(*list).owned()) {
            while (!owners.empty()) {
                owners.pop_back();
            }
            return failure(std::string("could not create list ") + list->name + " (key " +
                           std::to_string(list->key) + ")");
        }
    }

    if (json) {
        printJson(OwnerEvent{false, namesOf(lists), (int)getpid()});
    } else {
        std::cout << "owning " << joinNames(lists) << " (pid " << getpid() << ")" << std::endl;
    }

    int signo = 0;
    sigwait(&stopSignals, &signo);

    // Reverse order of creation, as the lists were stacked up.
    while (!owners.empty()) {
        owners.pop_back();
    }
    // The managers leave a segment whose id is 0 in place (the library takes
    // id 0 for "absent"); in a fresh IPC namespace the first list made gets
    // that id, so the owner finishes the removal itself.
    for (const ListInfo* list : lists) {
        if (shmget(list->key, 0, 0) == 0) {
            shmctl(0, IPC_RMID, nullptr);
        }
    }
    if (json) {
        printJson(OwnerEvent{true, namesOf(lists), 0});
    } else {
        std::cout << "released " << joinNames(lists) << std::endl;
    }
    return EXIT_OK;
}
