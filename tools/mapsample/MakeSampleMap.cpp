// Writes the sample intersection's node list message to a file, in the form
// a map source sends it; `v2xshm map load FILE` reads it back.

#include <cstdio>
#include <vector>

#include "SampleIntersection.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: v2xshm_makesample FILE\n");
        return 2;
    }
    std::vector<char> message;
    if (SampleIntersection::writeMessage(&message) < 0) {
        fprintf(stderr, "v2xshm_makesample: the writer refused the sample map\n");
        return 1;
    }
    FILE* out = fopen(argv[1], "wb");
    if (out == nullptr) {
        perror(argv[1]);
        return 1;
    }
    size_t written = fwrite(message.data(), 1, message.size(), out);
    if (fclose(out) != 0 || written != message.size()) {
        perror(argv[1]);
        return 1;
    }
    printf("%s: %zu bytes, %zu nodes\n", argv[1], message.size(), SampleIntersection::nodes().size());
    return 0;
}
