#ifndef V2XSHM_TOOLS_COMMANDS_H
#define V2XSHM_TOOLS_COMMANDS_H

#include "ToolCommon.h"

// One function per command word; each returns the process's exit code.

// CmdOwner.cpp
int cmdOwner(const ToolArgs& args);
// CmdStatus.cpp
int cmdStatus(const ToolArgs& args);
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
// CmdPtc.cpp: show ptc | obu | rsu | targets [--key KEY] | collisions;
// ptc push | age; obu push; rsu push; targets build; id next
int cmdShowPtc(const std::string& what, const ToolArgs& args);
int cmdParticipant(const std::string& list, const ToolArgs& args);
int cmdTargets(const ToolArgs& args);
int cmdId(const ToolArgs& args);

#endif
