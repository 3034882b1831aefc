// Uses the installed libraries through every include form: the umbrella
// header, a header by its subsystem folder and the unit-layer headers. Passes a
// setting from an owner to a reader of the configuration list (run it in a
// private IPC namespace), encodes a number big-endian and checks the lists
// with the unit layer. Prints "consumer ok" on success.
#include <v2xshm.h>
#include <shm/DevConfigMng.h>
#include <v2xshm-unit/FixPush.h>
#include <v2xshm-unit/FrameWalk.h>
#include <v2xshm-unit/LMMessageWriter.h>
#include <v2xshm-unit/ListCheck.h>
#include <v2xshm-unit/TargetBuild.h>

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
    // The shared library attaches the process list when it loads, with no
    // owner to set it up; the static one only when the program feeds.
#ifdef CONSUMER_STATIC
    const ListCheckResult::Verdict procs = ListCheckResult::ABSENT;
#else
    const ListCheckResult::Verdict procs = ListCheckResult::NO_OWNER;
#endif
    std::vector<char> message;
    if (checkList("config").verdict != ListCheckResult::CONSISTENT || checkList("procs").verdict != procs ||
        LMMessageWriter::writeNodeList({}, &message) != 6 || checkFix(FixReading{}) != FIX_OK) {
        printf("consumer: the unit layer's check or writer failed\n");
        return 1;
    }
    printf("consumer ok\n");
    return 0;
}
