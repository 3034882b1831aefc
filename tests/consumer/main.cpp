// Uses the installed library through both include forms: the umbrella header
// and a header by its subsystem folder. Passes a setting from an owner to a
// reader of the configuration list (run it in a private IPC namespace) and
// encodes a number big-endian. Prints "consumer ok" on success.
#include <v2xshm.h>
#include <shm/DevConfigMng.h>

#include <cstdio>
#include <cstring>

int main()
{
    DevConfigMng owner(true);
    DevConfigMng reader(false);
    int value = 77102;
    int out = 0;
    if (owner.insertConfig("consumer.key", ConfigInfo::FOUR_BYTES, &value) != 1 ||
        owner.commit() != 1 || reader.update() != 1 ||
        reader.getValueByKey("consumer.key", &out) != 1 || out != value) {
        printf("consumer: setting did not pass through the list\n");
        return 1;
    }

    char buf[4];
    int pos = 0;
    if (SerializeTool::Int2Byte(buf, &pos, 0x01020304) < 0 || pos != 4 ||
        memcmp(buf, "\x01\x02\x03\x04", 4) != 0) {
        printf("consumer: big-endian encoding failed\n");
        return 1;
    }
    printf("consumer ok\n");
    return 0;
}
