#include "ShmTestSupport.h"

#include <gtest/gtest.h>

namespace {

// In a fresh IPC namespace the first segment gets id 0, which the owner's
// removal takes for "absent" and leaves behind. The run takes that id first,
// under a spare key, so the lists under test get ordinary ids.
class ReserveIdZero : public ::testing::Environment {
public:
    void SetUp() override { shmget(ID0_KEY, 16, IPC_CREAT | 0666); }
    void TearDown() override { shmctl(shmget(ID0_KEY, 0, 0), IPC_RMID, nullptr); }
};

::testing::Environment* const reserveIdZero = ::testing::AddGlobalTestEnvironment(new ReserveIdZero);

}  // namespace
