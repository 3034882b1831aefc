// Placeholder commands; replaced as each command lands.
#include "Commands.h"

int cmdShowSpace(const std::string& what, const ToolArgs&) { return failure("show " + what + ": not built yet"); }
int cmdGnss(const ToolArgs&) { return failure("gnss: not built yet"); }
int cmdVehicle(const ToolArgs&) { return failure("vehicle: not built yet"); }
