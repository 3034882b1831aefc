#ifndef V2XSHM_SHM_THREADTOOL_H
#define V2XSHM_SHM_THREADTOOL_H

// Starts detached threads for the library's and the processes' loops.
class ThreadTool {
public:
    // Starts fn(arg) on a new thread with default attributes and detaches
    // it. Prints "pthread_create successfully..." or "pthread_create
    // failed..." on standard output. On success it pauses the caller for
    // 50 ms, so that the thread can take up arg, and returns 1; -1 on failure.
    static int createNewThread(void* (*fn)(void*), void* arg);
    // The same, storing the thread's identifier in *threadId (when not null).
    static int createNewThread(void* (*fn)(void*), void* arg, unsigned long* threadId);
};

#endif
