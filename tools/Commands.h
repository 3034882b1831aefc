#ifndef V2XSHM_TOOLS_COMMANDS_H
#define V2XSHM_TOOLS_COMMANDS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ToolCommon.h"
#include "localmap/LMMapRes.h"
#include "localmap/LMNodeExtend.h"

// One function per command word; each returns the process's exit code.

// CmdOwner.cpp: own `lists` (every list when empty) but those in `except`.
int cmdOwner(const std::vector<std::string>& lists, const std::vector<std::string>& except, bool json);
// CmdStatus.cpp
int cmdStatus(bool json);
// CmdCheck.cpp: the consistency of `lists` (every list present when empty);
// 0 when all are consistent, 1 when one is damaged or a named one absent.
int cmdCheck(const std::vector<std::string>& lists, bool json);
// CmdConfig.cpp
int cmdConfig(const ToolArgs& args);
// CmdSpace.cpp: show gnss | trace | vehicle; gnss push; vehicle disabled
int cmdShowSpace(const std::string& what, const ToolArgs& args);
int cmdGnss(const ToolArgs& args);
int cmdVehicle(const ToolArgs& args);
// CmdMap.cpp: map load | age; CmdMapShow.cpp: show map | location
int cmdShowMap(const std::string& what, const ToolArgs& args);
int cmdMap(const ToolArgs& args);
// CmdLocate.cpp: locate, with the approach's signal state and road-side
// information evaluated and published; show location
int cmdLocate(const ToolArgs& args);
int cmdShowLocation(const ToolArgs& args);
// serve/CmdServe.cpp: the live page, until SIGINT or SIGTERM
int cmdServe(const ToolArgs& args);

// CmdFrame.cpp: frame decode | build; show comm | ui; comm log
int cmdFrame(const ToolArgs& args);
int cmdComm(const ToolArgs& args);
int cmdShowFrameLists(const std::string& what, const ToolArgs& args);
// CmdPtc.cpp: show ptc | obu | rsu | targets [--key KEY] | collisions;
// ptc push | age; obu push; rsu push; targets build; id next
int cmdShowPtc(const std::string& what, const ToolArgs& args);
int cmdParticipant(const std::string& list, const ToolArgs& args);
int cmdTargets(const ToolArgs& args);
int cmdId(const ToolArgs& args);
// CmdProc.cpp: show procs; feed NAME [TAG]; log listen (count 0: until SIGINT)
int cmdShowProcs(double staleS, bool json);
int cmdFeed(const std::string& name, const std::string& tag);
int cmdLog(long port, long count, bool json);

// CmdSignal.cpp: signal load | age; rsi load | age;
// CmdSignalShow.cpp: show signals | rsi | phases | rsi-results
int cmdSignal(const ToolArgs& args);
int cmdRsi(const ToolArgs& args);
int cmdShowSignal(const std::string& what, const ToolArgs& args);

// CmdDraw.cpp: the picture of the local map
extern const char* const DRAW_SYNTAX;  // "[--out FILE.svg] [--around METRES] [--node ID]"
int cmdDraw(const ToolArgs& args);

// bridge/BridgeMqtt.cpp: bridge --broker HOST[:PORT] --unit ID [...]
extern const char* const BRIDGE_SYNTAX;  // the words after "bridge" (bridge/BridgeOptions.cpp)
int cmdBridge(const ToolArgs& args);

#endif
