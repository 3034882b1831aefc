// Writes and checks shared list images across the two ABIs of the unit (the
// 32-bit ARM target and the build host). Processes under qemu-user share the
// host kernel's IPC, so an image written by one ABI is read by the other.
//
//   v2xshm_abi_image write   owns the lists, fills them, prints "ready" and
//                            keeps them until SIGTERM/SIGINT (120 s at most)
//   v2xshm_abi_image read DIR
//                            attaches as a non-owner and checks every byte of
//                            each list against DIR/LIST.bin (the bytes after
//                            the file's end are zeros)
//
// Exit codes: 0 match, 1 mismatch or no image, 2 usage, 3 writer timed out.
// The committed images (tests/abi/images) were checked once against bytes
// put together by hand from the documented layouts (little-endian on both
// ABIs). The records' sizes and offsets are pinned by the headers'
// static_asserts, compiled for both ABIs; what is left to show here is that
// the managers of each ABI write and read the same lists.
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>


#include "localmap/LMRSIListMng.h"
#include "localmap/LMRSIResMng.h"
#include "localmap/LMTLListMng.h"
#include "localmap/LMTLPhaseResMng.h"
#include "ptc/TgtCollisionMng.h"
#include "shm/DevConfigMng.h"
#include "shm/IFSHM.h"
#include "status/CommRecordMng.h"
#include "status/CommSumMng.h"
#include "status/DevUIClientMng.h"

namespace {

constexpr int WRITER_TIMEOUT_S = 120;

// The value's bytes, little-endian.
std::vector<uint8_t> le(uint64_t value, int width)
{
    std::vector<uint8_t> bytes;
    for (int i = 0; i < width; ++i) bytes.push_back((uint8_t)(value >> (8 * i)));
    return bytes;
}

// ---- the configuration list, in ascending key order as the list keeps it ----
// The value's bits for types 1 to 3, its text for type 4.
struct ConfigCase { const char* key; int type; uint64_t bits; const char* text; };
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

// The value as the setter takes it: the number's bytes in host order (a
// double's bits are the double itself), or the text with its terminator.
std::vector<uint8_t> valueOf(const ConfigCase& c)
{
    if (c.type == 4) return std::vector<uint8_t>(c.text, c.text + strlen(c.text) + 1);
    return le(c.bits, c.type == 1 ? 1 : (c.type == 2 ? 4 : 8));
}

// Stamp 1700000000.123456, longitude 116.3912757, latitude -39.9061,
// altitude 43.25, heading 4.71238898038469.
constexpr uint64_t STAMP = 0x41D954FC4007E6B4ull, LON = 0x405D190AA93BCE0Cull, LAT = 0xC043F3FB15B573EBull,
                   ALT = 0x4045A00000000000ull, HEADING = 0x4012D97C7F3321D2ull;

// The value whose bits are given.
double doubleOf(uint64_t bits) { double v; memcpy(&v, &bits, sizeof v); return v; }
float floatOf(uint32_t bits) { float v; memcpy(&v, &bits, sizeof v); return v; }

// ---- the UI client list and a message ring with its totals ------------------
constexpr int COMM_RECORD_KEY = 77991;  // spare keys: the managers take theirs from the caller
constexpr int COMM_SUM_KEY = 77992;
const char FIRST_20[] = "abcdefghijklmnopqrst";  // fills its field, no terminator
const char SECOND_16[] = "0123456789ABCDEF";
const char DETAIL_16[] = "abi detail 16chr";

// Fills the lists through the managers' own callbacks, as processes do.
bool fillStatusLists(DevUIClientMng* ui, CommRecordMng* records, CommSumMng* sums)
{
    UIClient clients[] = {UIClient("tablet", "driver", UIClient::UI_CLIENT_DEFAULT),
                          UIClient(FIRST_20, SECOND_16, (UIClient::UIClientType)3)};
    CommInfo infos[2];
    infos[0].commType = 1, infos[0].peerId = -7, infos[0].length = 0xFFFFFFFFu;
    infos[0].reserved[0] = 0xA1, infos[0].reserved[1] = 0xA2, memcpy(infos[0].detail, DETAIL_16, 16);
    infos[1].commType = 2, infos[1].peerId = 9, infos[1].length = 5, infos[1].detail[0] = 'x';
    bool ok = true;
    for (int i = 0; i < 2; ++i) {
        clients[i].latestRefreshTime = infos[i].latestRefreshTime = doubleOf(STAMP);
        ok = ui->operateSHMNotSafe(DevUIClientMng::insert1Client, &clients[i]) == 2 &&
             records->operateSHMNotSafe(CommRecordMng::insertOneInfo2Record, &infos[i]) == 1 &&
             sums->operateSHMNotSafe(CommSumMng::addOneCommRecord, &infos[i]) == 1 && ok;
    }
    return ok;
}

// ---- the collision list: participant, target and collision parts ---------
void fillBase(IF_PTCBase* p, const char* id)
{
    p->latestRefreshTime = p->gnss.latestRefreshTime = doubleOf(STAMP);
    p->localID = 0x1234, strcpy(p->id, id);
    p->gnss.position.longitude = doubleOf(LON), p->gnss.position.latitude = doubleOf(LAT);
    p->gnss.speed = 13.5f, p->gnss.heading = 270.0f;
    p->size.width = 180, p->size.length = 450, p->size.height = 150;
}

TgtCollision filledCollision()
{
    TgtCollision t;
    fillBase(&t, "abi-tgt"), t.vehClass.classification = 12;
    t.tgtType = 2, t.angle = doubleOf(HEADING), t.distance = doubleOf(ALT), t.collision = 3.5;
    return t;
}

// ---- the light list, the RSI list and their result lists -------------------
// Floats by their bits: 12.5, 3.0, 0.25.
constexpr uint32_t F12_5 = 0x41480000, F3 = 0x40400000, F0_25 = 0x3E800000;


// Two lights given in reverse key order; the first has a phase with two
// states and a phase with none, the second no phase at all.
bool fillSignalLists(LMTLListMng* lights, LMRSIListMng* rsi, LMTLPhaseResMng* phases, LMRSIResMng* results)
{
    LMTrafficLightExtend light;
    light.latestRefreshTime = doubleOf(STAMP), light.id = -2;
    light.status[0] = 0xA5, light.status[1] = 0x5A, light.timeStamp = -300, light.timeConfidence = 9;
    LMPhaseExtend& phase = light.phases[7];
    phase.phaseID = 7, phase.phaseAttr = 0x81;
    for (uint8_t code : {6, 3}) {
        LMPhaseStateBase& state = phase.phaseStates[code];
        state.light = state.timeConfidence = code;
        state.startTime = floatOf(code == 3 ? F12_5 : F3), state.likelyEndTime = floatOf(F0_25);
    }
    light.phases[1].phaseID = 1;
    lights->lights[light.id] = light;
    lights->lights[0x0102030405060708].id = 0x0102030405060708;

    LMRSIExtend rec;
    rec.latestRefreshTime = doubleOf(STAMP), rec.attrFloat = floatOf(F12_5);
    rec.position.longitude = doubleOf(LON), rec.position.latitude = doubleOf(LAT), rec.position.altitude = doubleOf(ALT);
    rec.infoID = -5, rec.attrInt = INT32_MIN, rec.attrShort = 0x1234, rec.attrByte = 0xEE;
    memcpy(rec.sourceID, SECOND_16, 16), memcpy(rec.text, "road works", 10);
    rec.points.resize(2);
    rec.points[0].latHemisphere = 'S', rec.points[0].longitude = doubleOf(LON), rec.points[0].dis2End = doubleOf(ALT);
    rec.points[1].latitude = doubleOf(LAT);
    rsi->records = {rec, LMRSIExtend()};

    LMTLPhaseRes phaseRes;
    phaseRes.latestRefreshTime = doubleOf(STAMP), phaseRes.valueInt = -1, phaseRes.valueBytes2[7] = 0xFF;
    phaseRes.valueByte1 = 6, phaseRes.valueByte2 = 7, memcpy(phaseRes.valueBytes1, "12345678", 8);
    phases->phaseResults = {phaseRes, phaseRes};
    LMRSIRes rsiRes;
    rsiRes.latestRefreshTime = doubleOf(STAMP), rsiRes.valueByte1 = 1, rsiRes.valueByte2 = 2;
    memset(rsiRes.text, 'x', sizeof rsiRes.text);  // no terminator
    results->rsiResults = {rsiRes};
    return lights->commit() == 1 && rsi->commit() == 1 && phases->commit() == 1 && results->commit() == 1;
}

// Every list of the check: the writer owns them, the reader attaches.
struct Lists {
    bool owner;
    DevConfigMng config{owner};
    DevUIClientMng ui{owner};
    CommRecordMng commRecords{COMM_RECORD_KEY, owner};
    CommSumMng commSums{COMM_SUM_KEY, owner};
    TgtCollisionMng collisions{owner};
    LMTLListMng lights{owner};
    LMRSIListMng rsi{owner};
    LMTLPhaseResMng phases{owner};
    LMRSIResMng results{owner};
};

// The unit's two ABIs: 32-bit ARM and the 64-bit build host.
const char* const ABI = sizeof(void*) == 4 ? "arm" : "host";

// Reports the first differing byte; true when the images are equal.
bool sameImage(const char* what, const std::vector<uint8_t>& got, const std::vector<uint8_t>& want)
{
    size_t i = 0;
    while (i < want.size() && i < got.size() && got[i] == want[i]) ++i;
    if (i < want.size()) {
        printf("%s: byte %zu is 0x%02x, expected 0x%02x\n", what, i, i < got.size() ? got[i] : 0, want[i]);
    } else {
        printf("%s: all %zu bytes match\n", what, want.size());
    }
    return i == want.size();
}

// The committed image of a list, zeros up to `size` after it.
std::vector<uint8_t> imageFile(const std::string& path, size_t size)
{
    std::vector<uint8_t> bytes(size, 0);
    FILE* f = fopen(path.c_str(), "rb");
    size_t n = f != nullptr ? fread(bytes.data(), 1, size, f) : 0;
    if (f == nullptr || n == 0) printf("%s: cannot read\n", path.c_str());
    if (f != nullptr) fclose(f);
    return bytes;
}

int readAndCheck(const std::string& dir)
{
    printf("reader (%s):\n", ABI);
    Lists l{false};
    const struct { const char* name; IF_SHM* mng; size_t size; } lists[] = {
        {"config", &l.config, DevConfigMng::SHM_SIZE}, {"ui", &l.ui, DevUIClientMng::SHM_SIZE},
        {"ring", &l.commRecords, CommRecordMng::SHM_SIZE}, {"totals", &l.commSums, CommSumMng::SHM_SIZE},
        {"collisions", &l.collisions, TgtCollisionMng::SHM_SIZE}, {"lights", &l.lights, LMTLListMng::SHM_SIZE},
        {"rsi", &l.rsi, LMRSIListMng::SHM_SIZE}, {"phases", &l.phases, LMTLPhaseResMng::SHM_SIZE},
        {"rsiresults", &l.results, LMRSIResMng::SHM_SIZE}};
    bool ok = true;
    for (const auto& list : lists) {
        std::vector<uint8_t> image(list.size);
        ok = list.mng->updateFromSHM(image.data(), (int)image.size()) == 1
          && sameImage(list.name, image, imageFile(dir + "/" + list.name + ".bin", list.size)) && ok;
    }
    // The signal lists read back through their own decoders.
    bool decoded = l.lights.update() == 1 && l.lights.lights.size() == 2
                && l.lights.lights.at(-2).phases.at(7).phaseStates.size() == 2 && l.rsi.update() == 1
                && l.rsi.records.size() == 2 && l.rsi.records[0].points.size() == 2;
    printf("signal lists: %s through their decoders\n", decoded ? "read" : "NOT read");
    return ok && decoded ? 0 : 1;
}

int writeAndHold()
{
    // Blocked before anything is owned, so a stop request is never lost.
    sigset_t stop;
    sigemptyset(&stop), sigaddset(&stop, SIGTERM), sigaddset(&stop, SIGINT);
    sigprocmask(SIG_BLOCK, &stop, nullptr);

    Lists l{true};
    bool ok = fillStatusLists(&l.ui, &l.commRecords, &l.commSums);
    for (const ConfigCase& c : CONFIG_CASES) {
        ok = l.config.insertConfig(c.key, (ConfigInfo::DataType)c.type, valueOf(c).data()) == 1 && ok;
    }
    l.collisions.collisions.push_back(filledCollision());
    if (!ok || l.config.commit() != 1 || l.collisions.commit() != 1
        || !fillSignalLists(&l.lights, &l.rsi, &l.phases, &l.results)) {
        fprintf(stderr, "cannot write the list images\n");
        return 1;
    }
    printf("ready (%s)\n", ABI);
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
    std::string mode = argc >= 2 ? argv[1] : "";
    if (mode == "write" && argc == 2) return writeAndHold();
    if (mode == "read" && argc == 3) return readAndCheck(argv[2]);
    fprintf(stderr, "usage: v2xshm_abi_image write | read IMAGE_DIR\n");
    return 2;
}
