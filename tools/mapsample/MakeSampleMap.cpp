// Writes the sample intersection's messages to a file, in the form their
// sources send them: the node list (`v2xshm map load FILE` reads it back),
// the light list (`v2xshm signal load FILE`) or the RSI list (`v2xshm rsi
// load FILE`).
//
//   v2xshm_makesample [map|signal|rsi] FILE      (map when the kind is left out)
//   v2xshm_makesample signal FILE --at SECONDS
//
// With --at, the lights as the controllers send them SECONDS into the
// sample's cycle: a controller sends its state ten times a second, so a
// simulation writes one such file per step of its clock.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "SampleIntersection.h"
#include "SampleSignal.h"

int main(int argc, char** argv)
{
    double at = 0.0;
    if (argc == 5 && strcmp(argv[1], "signal") == 0 && strcmp(argv[3], "--at") == 0) {
        char* end = nullptr;
        at = strtod(argv[4], &end);
        if (*argv[4] == '\0' || *end != '\0' || !(at >= 0.0 && at <= 3600.0)) {
            fprintf(stderr, "v2xshm_makesample: --at wants seconds 0..3600, not %s\n", argv[4]);
            return 2;
        }
        argc = 3;
    }
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: v2xshm_makesample [map|signal|rsi] FILE | signal FILE --at SECONDS\n");
        return 2;
    }
    const char* kind = argc == 3 ? argv[1] : "map";
    const char* file = argv[argc - 1];
    std::vector<char> message;
    int rc = -1;
    if (strcmp(kind, "map") == 0) {
        rc = SampleIntersection::writeMessage(&message);
    } else if (strcmp(kind, "signal") == 0) {
        rc = SampleSignal::writeLights(&message, at);
    } else if (strcmp(kind, "rsi") == 0) {
        rc = SampleSignal::writeRSI(&message);
    } else {
        fprintf(stderr, "v2xshm_makesample: unknown kind %s (map, signal, rsi)\n", kind);
        return 2;
    }
    if (rc < 0) {
        fprintf(stderr, "v2xshm_makesample: the writer refused the sample %s\n", kind);
        return 1;
    }
    FILE* out = fopen(file, "wb");
    if (out == nullptr) {
        perror(file);
        return 1;
    }
    size_t written = fwrite(message.data(), 1, message.size(), out);
    if (fclose(out) != 0 || written != message.size()) {
        perror(file);
        return 1;
    }
    printf("%s: %zu bytes, sample %s\n", file, message.size(), kind);
    return 0;
}
