// The lists between processes, as a unit runs them: receivers inserting and
// refreshing at once while an ageing task and a reader run, each receiver
// drawing device-wide identifiers as it goes.
#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <sys/mman.h>

#include "ptc/DevPTCGivenIDMng.h"
#include "ptc/PtcLocalIDMng.h"
#include "support/ProcessHelpers.h"
#include "PtcTestUtil.h"

namespace {

constexpr int WRITERS = 8;
constexpr int EACH = PTCListMng::CAPACITY / WRITERS;
constexpr int ROUNDS = 20;

// What a whole record of writer w's participant k looks like: every field
// derived from its ptcID, so a torn copy shows.
PTC participantOf(int w, int k, int round)
{
    PTC p;
    p.ptcID = (uint16_t)(w * 100 + k);
    p.source = (uint8_t)w;
    snprintf(p.sourceID, sizeof p.sourceID, "rx-%d", w % 100);
    p.gnss.speed = (float)round;
    p.gnss.heading = (float)round;
    p.gnss.position.longitude = p.ptcID + round;
    return p;
}

bool whole(const PTC& p)
{
    double lon = p.gnss.position.longitude;
    float speed = p.gnss.speed, heading = p.gnss.heading;
    return p.localID != 0 && speed == heading && lon == p.ptcID + (double)speed;
}

// What the test and its children share.
struct Shared {
    int stop;
    uint16_t given[WRITERS][ROUNDS * EACH];  // the device-wide identifiers each writer drew
};

TEST(PtcProcesses, ConcurrentReceiversLoseNoParticipantAndDrawEachIdentifierOnce)
{
    Seg<PTCListMng> owner(true);
    DevPTCGivenIDMng givenOwner(true);
    Shared* shared = (Shared*)mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    int* stop = &shared->stop;  // the mapping starts zeroed
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
            if (mng.update() != 1 || !std::all_of(mng.ptcs.begin(), mng.ptcs.end(), whole)) {
                return 1;
            }
        }
        return 0;
    });
    std::vector<pid_t> writers;
    for (int w = 0; w < WRITERS; ++w) {
        writers.push_back(forkChild([w, shared] {
            PtcLocalIDMng::next_id = 1;  // as in a newly started receiver
            PTCListMng mng(false);
            DevPTCGivenIDMng given(false);
            uint16_t ids[EACH];
            for (int round = 0; round < ROUNDS; ++round) {
                for (int k = 0; k < EACH; ++k) {
                    PTC p = participantOf(w, k, round);
                    shared->given[w][round * EACH + k] = given.getPTCGivenID();
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
    ASSERT_EQ(owner.ptcs.size(), (size_t)WRITERS * EACH);  // each inserted once, as its writer saw
    for (const PTC& p : owner.ptcs) {
        EXPECT_TRUE(whole(p) && p.gnss.speed == ROUNDS - 1) << "refreshed in place";
    }
    constexpr int DRAWN = WRITERS * ROUNDS * EACH;
    std::set<int> values(&shared->given[0][0], &shared->given[0][0] + DRAWN);
    EXPECT_EQ(values.size(), (size_t)DRAWN);
    EXPECT_EQ(*values.begin(), 1);
    EXPECT_EQ(*values.rbegin(), DRAWN) << "from 1 on, none lost";
    munmap(shared, sizeof(Shared));
}

}  // namespace
