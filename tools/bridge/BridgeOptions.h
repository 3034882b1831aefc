#ifndef V2XSHM_TOOLS_BRIDGE_BRIDGEOPTIONS_H
#define V2XSHM_TOOLS_BRIDGE_BRIDGEOPTIONS_H

#include <set>
#include <string>
#include <vector>

// The bridge's command line:
//   --broker HOST[:PORT] --unit ID [--lists LIST,...] [--period MS]
//   [--config-keys KEY,...] [--cafile FILE [--cert FILE --key FILE]]
//   [--username NAME [--password-file FILE]]
struct BridgeOptions {
    std::string host;
    int port = 0;  // 1883, or 8883 with TLS, when not given
    std::string unit;
    std::vector<std::string> lists;  // every list the bridge knows when not given
    int periodMs = 1000;
    std::set<std::string> configKeys;
    std::string caFile;
    std::string certFile;
    std::string keyFile;
    std::string username;
    std::string password;  // read from --password-file, never from the command line
};

// The words after "bridge", for the usage lines.
extern const char* const BRIDGE_SYNTAX;

// Fills `out` from the words after "bridge"; "" on success, else the
// complaint.
std::string parseBridgeOptions(const std::vector<std::string>& words, BridgeOptions* out);

#endif
