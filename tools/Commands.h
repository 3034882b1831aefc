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
// CmdMap.cpp: show map | location; map load | age; locate
int cmdShowMap(const std::string& what, const ToolArgs& args);
int cmdMap(const ToolArgs& args);
int cmdLocate(const ToolArgs& args);

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

// CmdSignal.cpp: signal load | age; rsi load | age; show signals | rsi |
// phases | rsi-results; the signal state and RSI of a located approach
int cmdSignal(const ToolArgs& args);
int cmdRsi(const ToolArgs& args);
int cmdShowSignal(const std::string& what, const ToolArgs& args);
// Evaluates and publishes the lights and the road-side information for the
// located link (when their lists have owners); text lines, or JSON members.
// The lights are taken at `at` (a refresh time: that of the fix the vehicle
// was located from), or now when `at` is 0; a light received after `at` is
// taken as it was received.
std::string approachReport(const LMMapRes& res, const std::map<int64_t, LMNodeExtend>& nodes,
                           const GeoCoordinates& vehicle, bool json, double at = 0.0);

#endif
