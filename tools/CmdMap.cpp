// Placeholder commands; replaced as each command lands.
#include "Commands.h"

int cmdShowMap(const std::string& what, const ToolArgs&) { return failure("show " + what + ": not built yet"); }
int cmdMap(const ToolArgs&) { return failure("map: not built yet"); }
int cmdLocate(const ToolArgs&) { return failure("locate: not built yet"); }
