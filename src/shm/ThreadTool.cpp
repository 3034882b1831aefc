#include "shm/ThreadTool.h"

#include <cstdio>
#include <pthread.h>
#include <unistd.h>

static_assert(sizeof(pthread_t) == sizeof(unsigned long), "thread ids are handed out as unsigned long");

namespace {

constexpr unsigned START_PAUSE_US = 50000;

}  // namespace

int ThreadTool::createNewThread(void* (*fn)(void*), void* arg)
{
    return createNewThread(fn, arg, nullptr);
}

int ThreadTool::createNewThread(void* (*fn)(void*), void* arg, unsigned long* threadId)
{
    pthread_t thread;
    if (pthread_create(&thread, nullptr, fn, arg) != 0) {
        printf("pthread_create failed...\n");
        fflush(stdout);
        return -1;
    }
    printf("pthread_create successfully...\n");
    fflush(stdout);
    if (threadId != nullptr) {
        *threadId = (unsigned long)thread;
    }
    usleep(START_PAUSE_US);
    pthread_detach(thread);
    return 1;
}
