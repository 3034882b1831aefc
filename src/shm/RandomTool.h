#ifndef V2XSHM_SHM_RANDOMTOOL_H
#define V2XSHM_SHM_RANDOMTOOL_H

#include <pthread.h>

// Uniform random numbers for jittered timing, from the process-wide
// generator (rand), seeded with the time at the first draw.
class RandomTool {
public:
    // A number from 0.0 to 1.0 inclusive. Draws under rand_mutex; the first
    // call seeds the generator and is not guarded, so make it before other
    // threads draw.
    static double getNextRand();

    static bool isInitialized;
    static pthread_mutex_t rand_mutex;
};

#endif
