#include "shm/FeedWDog.h"

#include <cstring>
#include <mutex>
#include <new>
#include <unistd.h>

#include "shm/ThreadTool.h"

DevProcListMng FeedWDog::plm(false);

namespace {

// Blocks handed to feeding threads. They are never freed: a thread reads its
// block at every feed for the life of the process. Chained from a plain
// global so that they stay reachable (and are not torn down at exit while a
// thread may still read one).
struct FeedBlockNode {
    ProcFeedBlock block;
    FeedBlockNode* next;
};
FeedBlockNode* feedBlocks = nullptr;
std::mutex feedBlocksMutex;

void copyField(char* field, const char* text)
{
    memset(field, 0, ProcInfo::TEXT_LEN);
    if (text != nullptr) {
        memcpy(field, text, strnlen(text, ProcInfo::TEXT_LEN));
    }
}

}  // namespace

int FeedWDog::start_thr_FeedDog(const char* name, const char* tag)
{
    FeedBlockNode* node = new (std::nothrow) FeedBlockNode;
    if (node == nullptr) {
        return -1;
    }
    copyField(node->block.procName, name);
    copyField(node->block.procTag, tag);
    {
        std::lock_guard<std::mutex> hold(feedBlocksMutex);
        node->next = feedBlocks;
        feedBlocks = node;
    }
    return ThreadTool::createNewThread(thr_FeedDog, &node->block);
}

void* FeedWDog::thr_FeedDog(void* param)
{
    for (;;) {
        usleep(FEED_PERIOD_US);
        if (plm.operateSHMNotSafe(refreshOneProc, param) < 0) {
            break;
        }
    }
    return nullptr;
}

int FeedWDog::refreshOneProc(void* shm, void* param)
{
    plm.procs.clear();
    return DevProcListMng::refreshProcInList(shm, param);
}
