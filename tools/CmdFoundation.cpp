// Placeholder commands; replaced as each command lands.
#include "Commands.h"

int cmdOwner(const ToolArgs&) { return failure("owner: not built yet"); }
int cmdStatus(const ToolArgs&) { return failure("status: not built yet"); }
int cmdConfig(const ToolArgs&) { return failure("config: not built yet"); }
