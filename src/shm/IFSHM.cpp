#include "shm/IFSHM.h"

#include <alloca.h>
#include <cstring>
#include <exception>

#include "shm/SHMTool.h"

IF_SHM::IF_SHM(int key, int size, bool isOwner)
    : shmKey(key), shmSize(size), isOwner(isOwner)
{
    if (isOwner) {
        // A failed attach leaves (void*)-1, which clean_shm would write to.
        if (SHMTool::init_shm(key, size, &shmAddr) == -1) {
            shmAddr = nullptr;
        }
        SHMTool::clean_shm(&shmAddr, size);
        SHMTool::createSem(key, &semId);
    } else {
        if (SHMTool::init_shm(key, size, &shmAddr) == -1) {
            shmAddr = nullptr;
        }
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
