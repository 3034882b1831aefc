// v2xshm draw [--out FILE.svg] [--around METRES] [--node ID]
//
// The picture of the local map (draw/) as the lists hold it now, written to
// a file or to stdout.
#include "Commands.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "MapPicture.h"
#include "ToolParse.h"
#include "shm/TimeTool.h"

const char* const DRAW_SYNTAX = "[--out FILE.svg] [--around METRES] [--node ID]";

namespace {

// The options of the words; "" when they parse, else the complaint.
std::string drawOptions(const std::vector<std::string>& words, std::string* out, DrawOptions* options)
{
    for (size_t i = 0; i < words.size(); i += 2) {
        const std::string& name = words[i];
        if (name != "--out" && name != "--around" && name != "--node") {
            return "unknown argument '" + name + "'";
        }
        if (i + 1 >= words.size()) {
            return name + " needs a value";
        }
        const std::string& value = words[i + 1];
        char* end = nullptr;
        long long node = 0;
        if (name == "--out") {
            *out = value;
        } else if (name == "--around") {
            double metres = value.empty() || isspace((unsigned char)value[0]) ? NAN : strtod(value.c_str(), &end);
            if ((end != nullptr && *end != '\0') || !(metres >= 1.0 && metres <= 5000.0)) {
                return "--around '" + value + "' is not a number of metres in 1..5000";
            }
            options->aroundMetres = metres;
        } else if (!parseWhole(value, 0, INT64_MAX, &node)) {
            return "--node '" + value + "' is not a node id (a whole number, 0 or more)";
        } else {
            options->nodeId = node;
        }
    }
    return "";
}

// Writes the whole text to `file`, replacing it; "" when done, else why not.
std::string writeFile(const std::string& file, const std::string& text)
{
    FILE* f = fopen(file.c_str(), "wb");
    if (f == nullptr) {
        return "cannot write " + file + ": " + strerror(errno);
    }
    bool written = fwrite(text.data(), 1, text.size(), f) == text.size();
    int saved = errno;
    if (fclose(f) != 0 && written) {
        saved = errno;
        written = false;
    }
    return written ? "" : "cannot write " + file + ": " + strerror(saved);
}

}  // namespace

int cmdDraw(const ToolArgs& args)
{
    std::string out;
    DrawOptions options;
    std::string error = drawOptions(args.words, &out, &options);
    if (!error.empty()) {
        return usageError(error + "; usage: draw " + DRAW_SYNTAX);
    }
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    std::string svg;
    // The lists are read one after the other, each under its own lock.
    guardLockWait("map", 10);
    int rc = drawCurrentMap(&svg, options, TimeTool::getPreciseTimeNow());
    releaseLockGuard();
    if (rc == -2) {
        return failure("node " + std::to_string((long long)options.nodeId) +
                       " is not in the map list (v2xshm show map lists them)");
    }
    if (rc == 0) {
        return failure("the map list has no owner");
    }
    if (rc != 1) {
        return failure("the map list did not decode; it may be being rewritten, try again");
    }
    if (out.empty() || out == "-") {
        std::cout << svg << std::flush;
        return std::cout ? EXIT_OK : failure("cannot write the picture to stdout");
    }
    error = writeFile(out, svg);
    if (!error.empty()) {
        return failure(error);
    }
    std::cout << "wrote the map picture to " << out << " (" << svg.size() << " bytes)" << std::endl;
    return EXIT_OK;
}
