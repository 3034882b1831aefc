#include "shm/IFSHM.h"

#include <alloca.h>
#include <cstring>
#include <exception>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "shm/SHMTool.h"

namespace {

// Attaches the list's segment. Leaves *addr null when that fails (init_shm
// leaves (void*)-1) or when a segment made earlier with a smaller size is
// found: every transfer copies the full size and would run past its end.
void attachList(int key, int size, void** addr)
{
    int shmId = SHMTool::init_shm(key, size, addr);
    if (shmId == -1) {
        *addr = nullptr;
        return;
    }
    struct shmid_ds ds;
    if (shmctl(shmId, IPC_STAT, &ds) != 0 || ds.shm_segsz < (size_t)size) {
        SHMTool::close_shm(addr);
        *addr = nullptr;
    }
}

}  // namespace

IF_SHM::IF_SHM(int key, int size, bool isOwner)
    : shmKey(key), shmSize(size), isOwner(isOwner)
{
    if (isOwner) {
        attachList(key, size, &shmAddr);
        SHMTool::clean_shm(&shmAddr, size);
        SHMTool::createSem(key, &semId);
    } else {
        attachList(key, size, &shmAddr);
        semId = SHMTool::getSem(key);
    }
}

IF_SHM::~IF_SHM()
{
    if (isOwner) {
        SHMTool::del_semvalue(semId);
        SHMTool::close_shm(&shmAddr);
        SHMTool::delete_shm(shmKey);
    } else {
        SHMTool::close_shm(&shmAddr);
    }
}

int IF_SHM::commit2SHM(void* buf, int len)
{
    if (len > shmSize || shmAddr == nullptr) {
        return -1;
    }
    SHMTool::semaphore_p(semId);
    SHMTool::clean_shm(&shmAddr, shmSize);
    memcpy(shmAddr, buf, len);
    SHMTool::semaphore_v(semId);
    return 1;
}

int IF_SHM::updateFromSHM(void* buf, int len)
{
    if (shmSize > len || shmAddr == nullptr) {
        return -1;
    }
    SHMTool::semaphore_p(semId);
    memcpy(buf, shmAddr, len);
    SHMTool::semaphore_v(semId);
    return 1;
}

int IF_SHM::updateOperateCommit(int (*fn)(void* copy, int size, void* arg), void* arg)
{
    if (shmAddr == nullptr) {
        return -1;
    }
    // The copy lives on the caller's stack, as the design asks: no heap use
    // while the lock is held.
    void* copy = alloca(shmSize);
    SHMTool::semaphore_p(semId);
    memcpy(copy, shmAddr, shmSize);
    int result;
    try {
        result = fn(copy, shmSize, arg);
    } catch (const std::exception&) {
        SHMTool::semaphore_v(semId);
        return -1;
    }
    memcpy(shmAddr, copy, shmSize);
    SHMTool::semaphore_v(semId);
    return result;
}

int IF_SHM::operateSHMNotSafe(int (*fn)(void* shm, void* arg), void* arg)
{
    if (shmAddr == nullptr) {
        return -1;
    }
    SHMTool::semaphore_p(semId);
    int result;
    try {
        result = fn(shmAddr, arg);
    } catch (const std::exception&) {
        SHMTool::semaphore_v(semId);
        return -1;
    }
    SHMTool::semaphore_v(semId);
    return result;
}
