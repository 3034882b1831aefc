// v2xshm draw [--out FILE.svg] [--around METRES] [--node ID]
//
// The picture of the local map (draw/) as the lists hold it now, written to
// a file or to stdout.
#include "Commands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "MapPicture.h"
#include "shm/TimeTool.h"

namespace {

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

int cmdDraw(const std::string& out, double aroundMetres, long long nodeId)
{
    if (!requireOwner(*findList("map"))) {
        return EXIT_FAILURE_CODE;
    }
    DrawOptions options;
    options.aroundMetres = aroundMetres;
    options.nodeId = nodeId;
    std::string svg;
    // The lists are read one after the other, each under its own lock.
    guardLockWait("map", 10);
    int rc = drawCurrentMap(&svg, options, TimeTool::getPreciseTimeNow());
    releaseLockGuard();
    if (rc == -2) {
        return failure("node " + std::to_string(nodeId) + " is not in the map list (v2xshm show map lists them)");
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
    std::string error = writeFile(out, svg);
    if (!error.empty()) {
        return failure(error);
    }
    std::cout << "wrote the map picture to " << out << " (" << svg.size() << " bytes)" << std::endl;
    return EXIT_OK;
}
