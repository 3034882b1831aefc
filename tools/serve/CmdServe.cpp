// v2xshm serve [--bind ADDRESS] [--port PORT]
//
// The live page of the unit: the picture of the local map, the approach and
// the lists, in a browser (see LiveServer.h).
#include "Commands.h"
#include "serve/LiveServer.h"

int cmdServe(const ToolArgs& args)
{
    const char* usage = " (usage: serve [--bind ADDRESS] [--port PORT])";
    ServeOptions options;
    for (size_t i = 0; i < args.words.size(); i += 2) {
        const std::string& word = args.words[i];
        if (i + 1 >= args.words.size() || (word != "--bind" && word != "--port")) {
            return usageError("unexpected '" + word + "'" + usage);
        }
        const std::string& value = args.words[i + 1];
        long long port = 0;
        if (word == "--bind") {
            options.bind = value;
        } else if (WholeNumber r = readWholeNumber(value, 1, 65535, &port); r != WholeNumber::OK) {
            return usageError(wholeNumberError("port", value, r, 1, 65535) + usage);
        } else {
            options.port = (int)port;
        }
    }
#ifdef V2XSHM_WITH_SERVE
    return serveLivePage(options);
#else
    return failure("this build has no live page: the HTTP library was not found for its target");
#endif
}
