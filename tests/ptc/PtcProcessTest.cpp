// The lists between processes, as a unit runs them: receivers inserting and
// refreshing at once while an ageing task and a reader run, identifiers
// drawn from many processes, a writer killed inside the lock.
#include <csignal>
#include <gtest/gtest.h>
#include <set>
#include <sys/mman.h>

#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PtcLocalIDMng.h"
#include "support/ProcessHelpers.h"
#include "PtcTestUtil.h"

namespace {

constexpr int WRITERS = 8;

// What a whole record of writer w's participant k looks like: every field
// derived from its ptcID, so a torn copy shows.
PTC participantOf(int w, int k, int round)
{
    PTC p;
    p.ptcID = (uint16_t)(w * 100 + k);
    p.source = (uint8_t)w;
    snprintf(p.sourceID, sizeof p.sourceID, "rx-%d", w % 100);
    snprintf(p.id, sizeof p.id, "ptc-%d-%d", w % 100, k % 100);
    p.gnss.speed = (float)round;
    p.gnss.heading = (float)round;
    p.gnss.position.longitude = p.ptcID + round;
    return p;
}

bool whole(const PTC& p)
{
    char id[16];
    snprintf(id, sizeof id, "ptc-%d-%d", p.ptcID / 100, p.ptcID % 100);
    double lon = p.gnss.position.longitude;
    float speed = p.gnss.speed, heading = p.gnss.heading;
    return p.localID != 0 && strncmp(p.id, id, 16) == 0 && speed == heading && lon == p.ptcID + (double)speed;
}

TEST(PtcProcesses, ConcurrentReceiversLoseNoParticipant)
{
    constexpr int EACH = PTCListMng::CAPACITY / WRITERS;
    constexpr int ROUNDS = 20;
    Seg<PTCListMng> owner(true);
    int* stop = (int*)mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(stop, MAP_FAILED);
    *stop = 0;
    // An ageing task and a reader run all along.
    pid_t ager = forkChild([&] {
        PTCListMng mng(false);
        while (!__atomic_load_n(stop, __ATOMIC_SEQ_CST)) {
            mng.operateSHMNotSafe(PTCListMng::refreshList, nullptr);
        }
        return 0;
    });
    pid_t reader = forkChild([&] {
        PTCListMng mng(false);
        while (!__atomic_load_n(stop, __ATOMIC_SEQ_CST)) {
            if (mng.update() != 1) {
                return 1;
            }
            for (const PTC& p : mng.ptcs) {
                if (!whole(p)) {
                    return 2;
                }
            }
        }
        return 0;
    });
    std::vector<pid_t> writers;
    for (int w = 0; w < WRITERS; ++w) {
        writers.push_back(forkChild([w] {
            PtcLocalIDMng::next_id = 1;  // as in a newly started receiver
            PTCListMng mng(false);
            uint16_t ids[EACH];
            for (int round = 0; round < ROUNDS; ++round) {
                for (int k = 0; k < EACH; ++k) {
                    PTC p = participantOf(w, k, round);
                    int rc = mng.operateSHMNotSafe(PTCListMng::insertUpdateList, &p);
                    if (rc != (round == 0 ? 2 : 1) || (round == 0 ? p.localID != k + 1 : p.localID != ids[k])) {
                        return 10 + round;  // lost, or given another identifier
                    }
                    ids[k] = p.localID;
                }
            }
            return 0;
        }));
    }
    for (pid_t w : writers) {
        EXPECT_EQ(waitChild(w, 120000), 0);
    }
    __atomic_store_n(stop, 1, __ATOMIC_SEQ_CST);
    EXPECT_EQ(waitChild(ager), 0);
    EXPECT_EQ(waitChild(reader), 0) << "the reader saw a torn record";

    ASSERT_EQ(owner.update(), 1);
    ASSERT_EQ(owner.ptcs.size(), (size_t)WRITERS * EACH);
    std::set<int> seen;
    for (const PTC& p : owner.ptcs) {
        EXPECT_TRUE(whole(p));
        seen.insert(p.ptcID);
    }
    EXPECT_EQ(seen.size(), (size_t)WRITERS * EACH);
    munmap(stop, sizeof(int));
}

TEST(PtcProcesses, GivenIdentifierDrawnByManyProcessesGivesEachValueOnce)
{
    constexpr int DRAWS = 1000;
    DevPTCGivenIDMng owner(true);
    uint16_t* got = (uint16_t*)mmap(nullptr, WRITERS * DRAWS * sizeof(uint16_t), PROT_READ | PROT_WRITE,
                                    MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(got, MAP_FAILED);
    std::vector<pid_t> drawers;
    for (int w = 0; w < WRITERS; ++w) {
        drawers.push_back(forkChild([w, got] {
            DevPTCGivenIDMng mng(false);
            for (int i = 0; i < DRAWS; ++i) {
                got[w * DRAWS + i] = mng.getPTCGivenID();
            }
            return 0;
        }));
    }
    for (pid_t d : drawers) {
        EXPECT_EQ(waitChild(d, 120000), 0);
    }
    std::set<int> values(got, got + WRITERS * DRAWS);
    EXPECT_EQ(values.size(), (size_t)WRITERS * DRAWS);
    EXPECT_EQ(*values.begin(), 1);
    EXPECT_EQ(*values.rbegin(), WRITERS * DRAWS);
    munmap(got, WRITERS * DRAWS * sizeof(uint16_t));
}

Signal* inLock = nullptr;

int stallHalfway(void* list, void*)
{
    int32_t halfWritten = 1;  // count raised, record not yet written
    memcpy(list, &halfWritten, sizeof halfWritten);
    inLock->post();
    pause();
    return 1;
}

TEST(PtcProcesses, WriterKilledInsideTheLockDoesNotBlockTheNext)
{
    Seg<PtcOBUListMng> owner(true);
    Signal locked;
    inLock = &locked;
    pid_t victim = forkChild([] {
        PtcOBUListMng mng(false);
        return mng.operateSHMNotSafe(stallHalfway, nullptr);
    });
    ASSERT_TRUE(locked.wait());
    kill(victim, SIGKILL);
    EXPECT_EQ(waitChild(victim), 128 + SIGKILL);
    pid_t next = forkChild([] {
        PtcOBUListMng mng(false);
        OBU o;
        strcpy(o.id, "obu-next");
        return mng.operateSHMNotSafe(PtcOBUListMng::insertUpdateList, &o) == 2 ? 0 : 1;
    });
    EXPECT_EQ(waitChild(next, 10000), 0) << "the next writer got the lock";
    EXPECT_EQ(owner.storedCount(), 2) << "the half-written record stays, as in any in-place change";
}

}  // namespace
