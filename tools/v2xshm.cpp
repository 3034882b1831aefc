// v2xshm: look into and drive the shared lists of a running unit.

#include <cstring>
#include <iostream>
#include <string>

#include "Commands.h"

namespace {

const char* USAGE =
    "usage: v2xshm [--json] COMMAND [ARGS]\n"
    "  owner [LIST...]                  create and own lists until SIGINT/SIGTERM\n"
    "  status                           segment map and the state of each list\n"
    "  config list | get KEY | set KEY TYPE VALUE\n"
    "  show gnss | trace [-n N] | vehicle | map [--node ID] | location\n"
    "  gnss push --lon X --lat Y --speed V --heading H [...]\n"
    "  vehicle disabled on|off\n"
    "  map load FILE | map age\n"
    "  locate LON LAT HEADING_DEG\n"
    "  signal load FILE | signal age | rsi load FILE [--source TEXT] | rsi age\n"
    "  show signals [--node ID] | rsi | phases | rsi-results\n"
    "  frame decode HEX|- | frame build --type T --subtype S [DATA_HEX]\n"
    "  show comm [--key KEY] [-n N] | show ui\n"
    "  comm log --type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]\n"
    "  show ptc | obu | rsu | targets [--key KEY] | collisions\n"
    "  ptc push --ptc-id N --source N --source-id TEXT --lon X --lat Y [...] | ptc age\n"
    "  obu push | rsu push --id TEXT --lon X --lat Y [--speed V] [--heading H]\n"
    "  targets build [--key KEY]        targets from the own fix and the participant lists\n"
    "  id next                          draw a device-wide participant identifier\n"
    "  show procs [--stale SECONDS]     the process list with each entry's age\n"
    "  feed NAME [TAG]                  feed the watchdog as a process does, until SIGINT\n"
    "  log listen [--port P] [--count N]  print log datagrams as they arrive\n";

}  // namespace

int main(int argc, char** argv)
{
    ToolArgs args;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            args.json = true;
        } else {
            args.words.push_back(argv[i]);
        }
    }
    if (args.words.empty() || args.words[0] == "-h" || args.words[0] == "--help" || args.words[0] == "help") {
        std::cout << USAGE;
        return args.words.empty() ? EXIT_USAGE : EXIT_OK;
    }
    std::string command = args.words[0];
    args.words.erase(args.words.begin());

    if (command == "owner") return cmdOwner(args);
    if (command == "status") return cmdStatus(args);
    if (command == "config") return cmdConfig(args);
    if (command == "gnss") return cmdGnss(args);
    if (command == "vehicle") return cmdVehicle(args);
    if (command == "map") return cmdMap(args);
    if (command == "locate") return cmdLocate(args);
    if (command == "signal") return cmdSignal(args);
    if (command == "rsi") return cmdRsi(args);
    if (command == "ptc" || command == "obu" || command == "rsu") return cmdParticipant(command, args);
    if (command == "targets") return cmdTargets(args);
    if (command == "id") return cmdId(args);
    if (command == "frame") return cmdFrame(args);
    if (command == "comm") return cmdComm(args);
    if (command == "feed") return cmdFeed(args);
    if (command == "log") return cmdLog(args);
    if (command == "show") {
        if (args.words.empty()) {
            return usageError("show what? gnss, trace, vehicle, map, location, comm, ui, ptc, obu, rsu, targets, collisions or procs");
        }
        std::string what = args.words[0];
        args.words.erase(args.words.begin());
        if (what == "gnss" || what == "trace" || what == "vehicle") return cmdShowSpace(what, args);
        if (what == "map" || what == "location") return cmdShowMap(what, args);
        if (what == "signals" || what == "rsi" || what == "phases" || what == "rsi-results") {
            return cmdShowSignal(what, args);
        }
        if (what == "ptc" || what == "obu" || what == "rsu" || what == "targets" || what == "collisions") {
            return cmdShowPtc(what, args);
        }
        if (what == "comm" || what == "ui") return cmdShowFrameLists(what, args);
        if (what == "procs") return cmdShowProcs(args);
        return usageError("unknown list to show: " + what);
    }
    std::cerr << USAGE;
    return usageError("unknown command: " + command);
}
