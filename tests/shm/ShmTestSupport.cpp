#include "ShmTestSupport.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

// In a fresh IPC namespace the first segment gets id 0, which the owner's
// removal takes for "absent" and leaves behind. The run takes that id first,
// under a spare key, so the lists under test get ordinary ids.
class ReserveIdZero : public ::testing::Environment {
public:
    void SetUp() override { shmget(ID0_KEY, 16, IPC_CREAT | 0666); }
    void TearDown() override
    {
        int id = shmget(ID0_KEY, 0, 0);
        if (id != -1) {
            shmctl(id, IPC_RMID, nullptr);
        }
    }
};

::testing::Environment* const reserveIdZero = ::testing::AddGlobalTestEnvironment(new ReserveIdZero);

}  // namespace

bool segmentExists(int key)
{
    return shmget(key, 0, 0) != -1;
}

bool semaphoreExists(int key)
{
    return semget(key, 0, 0) != -1;
}

long segmentSize(int key)
{
    struct shmid_ds ds;
    int id = shmget(key, 0, 0);
    if (id == -1 || shmctl(id, IPC_STAT, &ds) != 0) {
        return -1;
    }
    return (long)ds.shm_segsz;
}

int semValue(int key)
{
    int id = semget(key, 0, 0);
    return id == -1 ? -1 : semctl(id, 0, GETVAL);
}

void removeIpc(int key)
{
    int shmId = shmget(key, 0, 0);
    if (shmId != -1) {
        shmctl(shmId, IPC_RMID, nullptr);
    }
    int semId = semget(key, 0, 0);
    if (semId != -1) {
        semctl(semId, 0, IPC_RMID);
    }
}
