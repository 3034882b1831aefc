#ifndef V2XSHM_TOOLS_RECEIVEDLISTS_H
#define V2XSHM_TOOLS_RECEIVEDLISTS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "localmap/LMNodeListMng.h"
#include "localmap/LMRSIListMng.h"
#include "localmap/LMTLListMng.h"

// Received map, light and RSI messages put into the shared lists as a
// receiving process does, for every front that takes them in (files given
// to the tool, payloads from the broker). The bytes are walked whole before
// anything is decoded, and the list is touched only once they passed.

enum class Received { MAP, LIGHTS, RSI };

// The list a kind goes into: "map", "lights" or "rsi".
const char* receivedList(Received kind);

// "" when `bytes` hold exactly one whole message of the kind, else why not;
// `container` names what held the bytes in the message ("file", "payload").
std::string checkReceived(Received kind, const std::vector<char>& bytes, const char* container);

// Decode checked bytes into the manager's local copy, then merge them into
// the shared list in place under its lock (guarded). "" on success, else
// why nothing changed. The manager must only be made once the list's owner
// was seen running.
std::string insertMapMessage(LMNodeListMng& mng, const std::vector<char>& bytes);
// `incoming` receives the lights as the merge left them.
std::string insertLightMessage(LMTLListMng& mng, const std::vector<char>& bytes,
                               std::map<int64_t, LMTrafficLightExtend>* incoming);
// Every record is marked as coming from `source`; `added` receives how many
// were new to the list.
std::string insertRsiMessage(LMRSIListMng& mng, const std::vector<char>& bytes, const std::string& source,
                             size_t* added);

#endif
