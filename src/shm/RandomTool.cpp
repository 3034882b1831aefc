#include "shm/RandomTool.h"

#include <cstdlib>
#include <ctime>

bool RandomTool::isInitialized = false;
pthread_mutex_t RandomTool::rand_mutex = PTHREAD_MUTEX_INITIALIZER;

double RandomTool::getNextRand()
{
    if (!isInitialized) {
        pthread_mutex_init(&rand_mutex, nullptr);
        srand((unsigned)time(nullptr));
        isInitialized = true;
    }
    pthread_mutex_lock(&rand_mutex);
    int value = rand();
    pthread_mutex_unlock(&rand_mutex);
    return value / 2147483647.0;
}
