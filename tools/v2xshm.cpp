// v2xshm: look into and drive the shared lists of a running unit.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "Commands.h"
#include "shm/WriteLog.h"

#ifndef V2XSHM_VERSION
#define V2XSHM_VERSION "unknown"
#endif

namespace {

// One command line the tool can run: the sub-command that selects it, its
// argument syntax for the usage line, and what runs it. `extras` holds the
// words the sub-command left unparsed, for commands that read their own.
struct Runner {
    CLI::App* app;
    std::string path;    // "show procs"
    std::string syntax;  // "[--stale SECONDS]"
    std::function<int(const std::vector<std::string>& extras)> run;
};

class Front {
public:
    Front() : app_("Look into and drive the shared lists of a running V2X unit.", "v2xshm")
    {
        app_.set_version_flag("--version", "v2xshm " V2XSHM_VERSION);
        app_.add_flag("--json", json_, "machine-readable output (one JSON document, or one per line)");
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.footer(std::string("v2xshm COMMAND --help shows each command's arguments. ") + NUMBER_RULE);
    }

    CLI::App& app() { return app_; }
    const bool& json() const { return json_; }

    // A sub-command whose options the front declares; `run` reads them.
    CLI::App* command(CLI::App* parent, const std::string& name, const std::string& help, const std::string& syntax,
                      std::function<int()> run)
    {
        CLI::App* sub = add(parent, name, help, syntax);
        runners_.push_back({sub, pathOf(sub), syntax, [run](const std::vector<std::string>&) { return run(); }});
        return sub;
    }

    // A sub-command whose words go to a command function that reads them
    // itself: `prefix` words first, then the words as given, --json taken out.
    CLI::App* words(CLI::App* parent, const std::string& name, const std::string& help, const std::string& syntax,
                    std::vector<std::string> prefix, std::function<int(const ToolArgs&)> run)
    {
        CLI::App* sub = add(parent, name, help, syntax);
        sub->allow_extras();
        sub->fallthrough(false);
        runners_.push_back({sub, pathOf(sub), syntax, [this, prefix, run](const std::vector<std::string>& extras) {
                                ToolArgs args;
                                args.json = json_;
                                args.words = prefix;
                                for (const std::string& word : extras) {
                                    if (word == "--json") {
                                        args.json = true;
                                    } else {
                                        args.words.push_back(word);
                                    }
                                }
                                return run(args);
                            }});
        return sub;
    }

    // A sub-command that only groups others.
    CLI::App* group(CLI::App* parent, const std::string& name, const std::string& help)
    {
        CLI::App* sub = (parent ? parent : &app_)->add_subcommand(name, help);
        sub->require_subcommand(1);
        return sub;
    }

    int run(int argc, char** argv)
    {
        try {
            app_.parse(argc, argv);
        } catch (const CLI::CallForHelp& e) {
            return app_.exit(e);
        } catch (const CLI::CallForAllHelp& e) {
            return app_.exit(e);
        } catch (const CLI::CallForVersion& e) {
            return app_.exit(e);
        } catch (const CLI::ParseError& e) {
            return parseFailure(e.what());
        }
        // The deepest sub-command given is the one to run.
        const Runner* chosen = nullptr;
        for (const Runner& r : runners_) {
            if (r.app->parsed() && (chosen == nullptr || r.path.size() > chosen->path.size())) {
                chosen = &r;
            }
        }
        if (chosen == nullptr) {
            return parseFailure("no command given");
        }
        return chosen->run(chosen->app->remaining());
    }

private:
    CLI::App* add(CLI::App* parent, const std::string& name, const std::string& help, const std::string& syntax)
    {
        CLI::App* sub = (parent ? parent : &app_)->add_subcommand(name, help);
        sub->footer("usage: v2xshm " + pathOf(sub) + (syntax.empty() ? "" : " " + syntax));
        return sub;
    }

    static std::string pathOf(const CLI::App* sub)
    {
        std::string path = sub->get_name();
        for (const CLI::App* up = sub->get_parent(); up && up->get_parent(); up = up->get_parent()) {
            path = up->get_name() + " " + path;
        }
        return path;
    }

    // One line on stderr: what was wrong, and how the command (or the
    // deepest one reached) is used.
    int parseFailure(std::string message)
    {
        const CLI::App* at = &app_;
        for (bool deeper = true; deeper;) {
            deeper = false;
            for (const CLI::App* sub : at->get_subcommands()) {
                at = sub;
                deeper = true;
                break;
            }
        }
        std::string usage = "v2xshm [--json] COMMAND [ARGS] (v2xshm --help lists the commands)";
        if (at != &app_) {
            usage = "v2xshm " + pathOf(at) + " ...";
            for (const Runner& r : runners_) {
                if (r.app == at) {
                    usage = "v2xshm " + r.path + (r.syntax.empty() ? "" : " " + r.syntax);
                }
            }
        }
        message.erase(std::remove(message.begin(), message.end(), '\n'), message.end());
        return usageError(message + "; usage: " + usage);
    }

    CLI::App app_;
    bool json_ = false;
    std::vector<Runner> runners_;
};

}  // namespace

int main(int argc, char** argv)
{
    Front f;
    const bool& json = f.json();

    std::vector<std::string> ownLists, exceptLists;
    CLI::App* owner = f.command(nullptr, "owner", "create and own lists until SIGINT or SIGTERM (all of them by default)",
                                "[LIST...] [--except LIST]...",
                                [&] { return cmdOwner(ownLists, exceptLists, json); });
    owner->add_option("LIST", ownLists, "lists to own (names as 'v2xshm status' shows them)");
    owner->add_option("--except", exceptLists, "a list another process owns on this unit (repeatable)")
        ->allow_extra_args(false);

    f.command(nullptr, "status", "the segment map and the state of each list's segment and semaphore", "",
              [&] { return cmdStatus(json); });

    std::vector<std::string> checkLists;
    f.command(nullptr, "check", "check the consistency of every list present, or of those named, without writing",
              "[LIST...]", [&] { return cmdCheck(checkLists, json); })
        ->add_option("LIST", checkLists, "lists to check (names as 'v2xshm status' shows them)");

    CLI::App* config = f.words(nullptr, "config", "the configuration store", "list | get KEY [TYPE] | set KEY TYPE VALUE",
                               {}, cmdConfig);
    f.words(config, "list", "every entry with its type and value", "", {"list"}, cmdConfig);
    f.words(config, "get", "one entry, checked against TYPE when given", "KEY [TYPE]", {"get"}, cmdConfig);
    f.words(config, "set", "insert or replace an entry (TYPE: u8, i32, i64, f64, text)", "KEY TYPE VALUE", {"set"},
            cmdConfig);

    CLI::App* show = f.group(nullptr, "show", "print a list");
    auto showWith = [&](const std::string& what, const std::string& help, const std::string& syntax,
                        int (*fn)(const std::string&, const ToolArgs&)) {
        f.words(show, what, help, syntax, {}, [what, fn](const ToolArgs& args) { return fn(what, args); });
    };
    showWith("gnss", "the own GNSS fix", "", cmdShowSpace);
    showWith("trace", "the newest fixes of the vehicle trace", "[-n N]", cmdShowSpace);
    showWith("vehicle", "the vehicle status", "", cmdShowSpace);
    showWith("map", "the local map's nodes, or one node in full", "[--node ID]", cmdShowMap);
    showWith("location", "the vehicle's published location in the map", "", cmdShowMap);
    showWith("signals", "the traffic-light list", "[--node ID]", cmdShowSignal);
    showWith("rsi", "the road-side information list", "", cmdShowSignal);
    showWith("phases", "the published light of each movement", "", cmdShowSignal);
    showWith("rsi-results", "the published road-side information on the link", "", cmdShowSignal);
    showWith("comm", "the newest messages, then the totals per type and per peer (the totals at KEY + 1)",
             "[--key KEY] [-n N]", cmdShowFrameLists);
    showWith("ui", "the registered user-interface clients", "", cmdShowFrameLists);
    showWith("ptc", "the participant list", "", cmdShowPtc);
    showWith("obu", "the on-board unit list", "", cmdShowPtc);
    showWith("rsu", "the road-side unit list", "", cmdShowPtc);
    showWith("targets", "a target list", "[--key KEY]", cmdShowPtc);
    showWith("collisions", "the collision list", "", cmdShowPtc);
    double staleS = 90.0;
    f.command(show, "procs", "the process list with each entry's age, stale when older than the threshold",
              "[--stale SECONDS]", [&] { return cmdShowProcs(staleS, json); })
        ->add_option("--stale", staleS, "seconds since the last feed that make an entry stale")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1e9));

    CLI::App* gnss = f.group(nullptr, "gnss", "the own GNSS fix");
    f.words(gnss, "push", "store a fix and add it to the vehicle trace",
            "--lon X --lat Y --speed V --heading H [--time-ms MS] [--precision P]", {"push"}, cmdGnss);
    CLI::App* vehicle = f.group(nullptr, "vehicle", "the vehicle status");
    f.words(vehicle, "disabled", "set or clear the vehicle's disabled mark", "on|off", {"disabled"}, cmdVehicle);

    CLI::App* map = f.words(nullptr, "map", "the local map", "load FILE | age", {}, cmdMap);
    f.words(map, "load", "check a map message file, then load it into the node list", "FILE", {"load"}, cmdMap);
    f.words(map, "age", "the age of the node list", "", {"age"}, cmdMap);
    f.words(nullptr, "locate", "locate a vehicle in the map and publish the result, the lights and the road-side "
                               "information of its approach",
            "LON LAT HEADING_DEG | --gnss", {}, cmdLocate);
    f.words(nullptr, "serve", "serve a live page of the unit: the map, the approach, each list's JSON (GET only)",
            "[--bind ADDRESS] [--port PORT]", {}, cmdServe);

    CLI::App* signal = f.words(nullptr, "signal", "the traffic-light list", "load FILE | age", {}, cmdSignal);
    f.words(signal, "load", "check a light list file, then load it", "FILE", {"load"}, cmdSignal);
    f.words(signal, "age", "the age of the light list", "", {"age"}, cmdSignal);
    CLI::App* rsi = f.words(nullptr, "rsi", "the road-side information list", "load FILE [--source TEXT] | age", {},
                            cmdRsi);
    f.words(rsi, "load", "check a road-side information file, then load it", "FILE [--source TEXT]", {"load"}, cmdRsi);
    f.words(rsi, "age", "the age of the road-side information list", "", {"age"}, cmdRsi);
    f.words(nullptr, "draw", "an SVG picture of the local map, its signals and road users (stdout without --out; "
                             "METRES 150 by default, 1 to 5000)", DRAW_SYNTAX, {}, cmdDraw);
    f.words(nullptr, "bridge", "the lists to an MQTT broker; maps, lights, RSI, config from it", BRIDGE_SYNTAX, {}, cmdBridge);
    CLI::App* frame = f.words(nullptr, "frame", "framed messages", "decode HEX|- | build --type T --subtype S [DATA_HEX]",
                              {}, cmdFrame);
    f.words(frame, "decode", "decode frames given in hex, or read from stdin with -", "HEX|-", {"decode"}, cmdFrame);
    f.words(frame, "build", "build one frame and print it in hex", "--type T --subtype S [DATA_HEX]", {"build"},
            cmdFrame);
    CLI::App* comm = f.words(nullptr, "comm", "the message ring and its totals",
                             "log --type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]", {}, cmdComm);
    f.words(comm, "log", "record one message as sent (1) or received (2)",
            "--type 1|2 --peer ID --length N [--key KEY] [--detail TEXT]", {"log"}, cmdComm);

    auto participant = [&](const std::string& list, const std::string& help, const std::string& pushSyntax) {
        CLI::App* sub = f.words(nullptr, list, help, list == "ptc" ? "push ... | age" : "push ...", {},
                                [list](const ToolArgs& args) { return cmdParticipant(list, args); });
        f.words(sub, "push", "insert or refresh one record", pushSyntax, {"push"},
                [list](const ToolArgs& args) { return cmdParticipant(list, args); });
        return sub;
    };
    CLI::App* ptc = participant("ptc", "the participant list",
                                "--ptc-id N --source N --source-id TEXT [--type N] [--id TEXT] --lon X --lat Y "
                                "[--speed V] [--heading H]");
    f.words(ptc, "age", "drop the participants not refreshed in time", "", {"age"},
            [](const ToolArgs& args) { return cmdParticipant("ptc", args); });
    participant("obu", "the on-board unit list", "--id TEXT --lon X --lat Y [--speed V] [--heading H]");
    participant("rsu", "the road-side unit list", "--id TEXT --lon X --lat Y [--speed V] [--heading H]");
    CLI::App* targets = f.words(nullptr, "targets", "a target list", "build [--key KEY]", {}, cmdTargets);
    f.words(targets, "build", "build targets from the own fix and the participant lists", "[--key KEY]", {"build"},
            cmdTargets);
    CLI::App* id = f.words(nullptr, "id", "device-wide participant identifiers", "next", {}, cmdId);
    f.words(id, "next", "draw the next identifier (1 ... 65535, 0, 1, ...)", "", {"next"}, cmdId);

    std::string feedName, feedTag;
    CLI::App* feed = f.command(nullptr, "feed", "feed a process entry as a process's watchdog thread does, until "
                                               "SIGINT or SIGTERM",
                               "NAME [TAG]", [&] { return cmdFeed(feedName, feedTag); });
    feed->add_option("NAME", feedName, "the process's name (1 to 15 characters)")->required();
    feed->add_option("TAG", feedTag, "its tag (at most 15 characters)");
    // The parser alone would read 010 as octal.
    CLI::Validator wholeNumber(rewriteWholeNumber, "", "whole number");
    CLI::App* log = f.group(nullptr, "log", "log datagrams");
    long port = WriteLog::LOG_PORT, count = 0;
    CLI::App* listen = f.command(log, "listen", "print each log datagram with its time of arrival, until SIGINT or N "
                                                "datagrams",
                                 "[--port PORT] [--count N]", [&] { return cmdLog(port, count, json); });
    listen->add_option("--port", port, "the UDP port to bind")
        ->capture_default_str()
        ->transform(wholeNumber)
        ->check(CLI::Range(1, 65535));
    listen->add_option("--count", count, "stop after N datagrams")
        ->transform(wholeNumber)
        ->check(CLI::Range(1L, 1000000000L));

    f.command(nullptr, "help", "list the commands", "", [&] {
        // App::help would describe this sub-command, the one parsed.
        std::cout << f.app().get_formatter()->make_help(&f.app(), "v2xshm", CLI::AppFormatMode::Normal);
        return EXIT_OK;
    });

    return f.run(argc, argv);
}
