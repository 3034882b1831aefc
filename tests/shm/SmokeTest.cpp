#include <gtest/gtest.h>

#include "shm/DevConfigMng.h"
#include "support/ProcessHelpers.h"

// Placeholder until the store's own tests land: a config value committed by
// the owner is read by another process.
TEST(DevConfigMng, ValueCommittedByOwnerIsReadInChild)
{
    DevConfigMng owner(true);
    int v = 42;
    ASSERT_EQ(owner.insertConfig("answer", ConfigInfo::FOUR_BYTES, &v), 1);
    ASSERT_EQ(owner.commit(), 1);
    pid_t pid = forkChild([] {
        DevConfigMng reader(false);
        int out = 0;
        if (reader.update() != 1 || reader.getValueByKey("answer", &out) != 1) {
            return 1;
        }
        return out == 42 ? 0 : 2;
    });
    EXPECT_EQ(waitChild(pid), 0);
}
