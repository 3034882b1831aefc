// Writes and checks shared list images across the two ABIs of the unit (the
// 32-bit ARM target and the build host). Processes under qemu-user share the
// host kernel's IPC, so an image written by one ABI is read by the other.
//
//   v2xshm_abi_image write   owns the lists, fills them, prints "ready" and
//                            keeps them until SIGTERM/SIGINT (120 s at most)
//   v2xshm_abi_image read    attaches as a non-owner and checks every value
//                            and every byte against bytes built by hand
//
// Exit codes: 0 match, 1 mismatch, 2 usage or no image, 3 writer timed out.
// The expected bytes are put together byte by byte from the documented
// layouts (little-endian on both ABIs), not from the library's structures.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <sys/ipc.h>
#include <sys/shm.h>

#include "shm/DevConfigMng.h"
#include "shm/IFRefreshable.h"
#include "shm/IFSHM.h"
#include "shm/TimeBase.h"
#include "space/IFPosition.h"

namespace {

constexpr int RECORDS_KEY = 77990;  // spare key, used by this program only
constexpr int WRITER_TIMEOUT_S = 120;

// ---- the configuration list -------------------------------------------------

struct ConfigCase {
    const char* key;
    int type;
    uint64_t bits;     // value bytes, little-endian (types 1 to 3)
    const char* text;  // type 4
};

double doubleOf(uint64_t bits)
{
    double d;
    memcpy(&d, &bits, sizeof d);
    return d;
}

// In ascending key order, as the list keeps them.
const ConfigCase CONFIG_CASES[] = {
    {"abi.byte", 1, 0xA5, nullptr},
    {"abi.double", 3, 0xC0934A456D5CFAADull, nullptr},  // -1234.5678
    {"abi.int", 2, 0xF8A432EBull, nullptr},             // -123456789
    {"abi.int64", 3, 0x0123456789ABCDEFull, nullptr},
    {"abi.key16chars!!", 2, 0x7FFFFFFF, nullptr},       // no terminator
    {"abi.pi", 3, 0x400921FB54442D18ull, nullptr},
    {"abi.text", 4, 0, "v2x unit, 31 characters of text"},
};
constexpr int CONFIG_COUNT = sizeof CONFIG_CASES / sizeof CONFIG_CASES[0];

int widthOf(int type)
{
    return type == 1 ? 1 : (type == 2 ? 4 : 8);
}

// The case's value as the setter takes it: a native number or the text.
std::vector<char> nativeValue(const ConfigCase& c)
{
    if (c.type == 4) {
        return std::vector<char>(c.text, c.text + strlen(c.text) + 1);
    }
    std::vector<char> v(8);
    if (c.type == 1) {
        uint8_t b = (uint8_t)c.bits;
        memcpy(v.data(), &b, 1);
    } else if (c.type == 2) {
        int32_t i = (int32_t)(uint32_t)c.bits;
        memcpy(v.data(), &i, 4);
    } else {
        double d = doubleOf(c.bits);  // travels as a double, not as bytes
        memcpy(v.data(), &d, 8);
    }
    v.resize(widthOf(c.type));
    return v;
}

void putLE(std::vector<uint8_t>* img, int* pos, uint64_t value, int width)
{
    for (int i = 0; i < width; ++i) {
        (*img)[*pos + i] = (uint8_t)(value >> (8 * i));
    }
    *pos += width;
}

void putBytes(std::vector<uint8_t>* img, int* pos, const void* src, int len)
{
    memcpy(img->data() + *pos, src, len);
    *pos += len;
}

// count (int32), then 128 entries of key[16], dataType (int32), value[32].
std::vector<uint8_t> expectedConfigImage()
{
    std::vector<uint8_t> img(DevConfigMng::SHM_SIZE, 0);
    int pos = 0;
    putLE(&img, &pos, CONFIG_COUNT, 4);
    for (const ConfigCase& c : CONFIG_CASES) {
        int entry = pos;
        putBytes(&img, &pos, c.key, (int)strlen(c.key));
        pos = entry + 16;
        putLE(&img, &pos, (uint32_t)c.type, 4);
        if (c.type == 4) {
            putBytes(&img, &pos, c.text, (int)strlen(c.text) + 1);
        } else {
            putLE(&img, &pos, c.bits, widthOf(c.type));
        }
        pos = entry + 52;
    }
    return img;
}

// ---- a raw image of the position and time records ---------------------------

#pragma pack(push, 1)
struct AbiRecords {
    uint32_t magic;
    IF_Refreshable stamp;
    GeoCoordinates geo;
    Movable2D motion;
    CarCoordinates car;
    ObjSize size;
    Accel4Way accel;
    BrakeSys brakes;
    VehClass vehClass;
    TimeBase time;
};
#pragma pack(pop)
static_assert(sizeof(AbiRecords) == 4 + 8 + 26 + 34 + 24 + 12 + 16 + 7 + 33 + 14,
              "records image changed");

constexpr uint32_t MAGIC = 0x53583256;  // "V2XS"
constexpr uint64_t STAMP = 0x41D954FC4007E6B4ull;   // 1700000000.123456
constexpr uint64_t LON = 0x405D190AA93BCE0Cull;     // 116.3912757
constexpr uint64_t LAT = 0xC043F3FB15B573EBull;     // -39.9061
constexpr uint64_t ALT = 0x4045A00000000000ull;     // 43.25
constexpr uint64_t HEADING = 0x4012D97C7F3321D2ull; // 4.71238898038469
constexpr uint64_t SPEED = 0x402BCCCCCCCCCCCDull;   // 13.9
constexpr uint64_t SPEED_X = 0xBF8C779A6B50B0F2ull; // -0.0139
constexpr uint64_t SPEED_Y = 0x42174876E8000000ull; // 2.5e10
constexpr uint64_t CAR_X = 0x8000000000000000ull;   // -0.0
constexpr uint64_t CAR_Y = 0x0000000000000001ull;   // smallest subnormal
constexpr uint64_t CAR_Z = 0x3FF8000000000000ull;   // 1.5

// Filled field by field through the records' own members.
AbiRecords filledRecords()
{
    AbiRecords r;
    r.magic = MAGIC;
    r.stamp.latestRefreshTime = doubleOf(STAMP);
    r.geo.latHemisphere = 'S';
    r.geo.lonHemisphere = 'W';
    r.geo.longitude = doubleOf(LON);
    r.geo.latitude = doubleOf(LAT);
    r.geo.altitude = doubleOf(ALT);
    r.motion.time = 59999;
    r.motion.heading = doubleOf(HEADING);
    r.motion.speed = doubleOf(SPEED);
    r.motion.speedX = doubleOf(SPEED_X);
    r.motion.speedY = doubleOf(SPEED_Y);
    r.car.x = doubleOf(CAR_X);
    r.car.y = doubleOf(CAR_Y);
    r.car.z = doubleOf(CAR_Z);
    r.size.width = 180;
    r.size.length = 450;
    r.size.height = -150;
    r.accel.longitudinal = -300;
    r.accel.lateral = 25;
    r.accel.vertical = INT32_MIN;
    r.accel.yawRate = INT32_MAX;
    r.brakes.brakePedal = 1;
    r.brakes.wheelBrakes = 0x5A;
    for (int i = 0; i < 5; ++i) {
        r.brakes.brakeStatus[i] = (uint8_t)(0xF0 + i);
    }
    r.vehClass.classification = 10;
    for (int i = 0; i < 32; ++i) {
        r.vehClass.extra[i] = (uint8_t)(i * 7);
    }
    for (int i = 0; i < 10; ++i) {
        r.time.dateTime[i] = (uint8_t)(20 + i);
    }
    r.time.second = 59;
    r.time.millisecond = -999;
    return r;
}

std::vector<uint8_t> expectedRecordsImage()
{
    std::vector<uint8_t> img(sizeof(AbiRecords), 0);
    int pos = 0;
    putLE(&img, &pos, MAGIC, 4);
    putLE(&img, &pos, STAMP, 8);
    putLE(&img, &pos, 'S', 1);
    putLE(&img, &pos, 'W', 1);
    for (uint64_t bits : {LON, LAT, ALT}) {
        putLE(&img, &pos, bits, 8);
    }
    putLE(&img, &pos, 59999, 2);
    for (uint64_t bits : {HEADING, SPEED, SPEED_X, SPEED_Y, CAR_X, CAR_Y, CAR_Z}) {
        putLE(&img, &pos, bits, 8);
    }
    for (int32_t v : {180, 450, -150, -300, 25, INT32_MIN, INT32_MAX}) {
        putLE(&img, &pos, (uint32_t)v, 4);
    }
    putLE(&img, &pos, 1, 1);
    putLE(&img, &pos, 0x5A, 1);
    for (int i = 0; i < 5; ++i) {
        putLE(&img, &pos, 0xF0 + i, 1);
    }
    putLE(&img, &pos, 10, 1);
    for (int i = 0; i < 32; ++i) {
        putLE(&img, &pos, (uint8_t)(i * 7), 1);
    }
    for (int i = 0; i < 10; ++i) {
        putLE(&img, &pos, 20 + i, 1);
    }
    putLE(&img, &pos, 59, 2);
    putLE(&img, &pos, (uint16_t)-999, 2);
    return img;
}

// A list with no manager of its own: the records image under a spare key.
class RawImageMng : public IF_SHM {
public:
    RawImageMng(int key, int size, bool isOwner) : IF_SHM(key, size, isOwner) {}
    int update() override { return 1; }
};

// ---- checking ----------------------------------------------------------------

const char* abiName()
{
#if defined(__arm__)
    return "arm";
#else
    return "host";
#endif
}

// Reports the first differing byte; true when the images are equal.
bool sameImage(const char* what, const std::vector<uint8_t>& got,
               const std::vector<uint8_t>& want)
{
    for (size_t i = 0; i < want.size(); ++i) {
        if (i >= got.size() || got[i] != want[i]) {
            printf("%s: byte %zu is 0x%02x, expected 0x%02x\n", what, i,
                   i < got.size() ? got[i] : 0, want[i]);
            return false;
        }
    }
    printf("%s: all %zu bytes match\n", what, want.size());
    return true;
}

bool configValuesMatch(DevConfigMng* mng)
{
    bool ok = (int)mng->configs.size() == CONFIG_COUNT;
    if (!ok) {
        printf("config list: %zu entries, expected %d\n", mng->configs.size(), CONFIG_COUNT);
    }
    for (const ConfigCase& c : CONFIG_CASES) {
        std::vector<char> want = nativeValue(c);
        char got[ConfigInfo::VALUE_LEN] = {};
        int rc = mng->getValueByKey(c.key, got);
        if (rc != 1 || memcmp(got, want.data(), want.size()) != 0) {
            printf("config list: value of \"%s\" differs (rc %d)\n", c.key, rc);
            ok = false;
        }
    }
    if (ok) {
        printf("config list: all %d values match\n", CONFIG_COUNT);
    }
    return ok;
}

bool segmentExists(int key)
{
    return shmget(key, 0, 0) >= 0;
}

int readAndCheck()
{
    for (int key : {DevConfigMng::SHM_KEY, RECORDS_KEY}) {
        if (!segmentExists(key)) {
            fprintf(stderr, "no list image under key %d: start the writer first\n", key);
            return 2;
        }
    }
    printf("reader (%s):\n", abiName());
    DevConfigMng config(false);
    RawImageMng records(RECORDS_KEY, (int)sizeof(AbiRecords), false);

    bool ok = config.update() == 1 && configValuesMatch(&config);
    std::vector<uint8_t> image(DevConfigMng::SHM_SIZE);
    ok = config.updateFromSHM(image.data(), (int)image.size()) == 1 &&
         sameImage("config list", image, expectedConfigImage()) && ok;

    image.assign(sizeof(AbiRecords), 0);
    ok = records.updateFromSHM(image.data(), (int)image.size()) == 1 &&
         sameImage("records image", image, expectedRecordsImage()) && ok;
    return ok ? 0 : 1;
}

int writeAndHold()
{
    // Blocked before anything is owned, so a stop request is never lost.
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTERM);
    sigaddset(&stop, SIGINT);
    sigprocmask(SIG_BLOCK, &stop, nullptr);

    DevConfigMng config(true);
    RawImageMng records(RECORDS_KEY, (int)sizeof(AbiRecords), true);
    for (const ConfigCase& c : CONFIG_CASES) {
        std::vector<char> value = nativeValue(c);
        if (config.insertConfig(c.key, (ConfigInfo::DataType)c.type, value.data()) != 1) {
            fprintf(stderr, "cannot set \"%s\"\n", c.key);
            return 1;
        }
    }
    AbiRecords filled = filledRecords();
    if (config.commit() != 1 || records.commit2SHM(&filled, sizeof filled) != 1) {
        fprintf(stderr, "cannot write the list images\n");
        return 1;
    }
    printf("ready (%s)\n", abiName());
    fflush(stdout);

    timespec limit = {WRITER_TIMEOUT_S, 0};
    if (sigtimedwait(&stop, nullptr, &limit) < 0) {
        fprintf(stderr, "writer: no stop request within %d s\n", WRITER_TIMEOUT_S);
        return 3;  // the owners still remove their lists on the way out
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    std::string mode = argc == 2 ? argv[1] : "";
    if (mode == "write") {
        return writeAndHold();
    }
    if (mode == "read") {
        return readAndCheck();
    }
    fprintf(stderr, "usage: v2xshm_abi_image write|read\n");
    return 2;
}
