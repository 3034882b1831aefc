#ifndef V2XSHM_PTC_PTCLISTTOOL_H
#define V2XSHM_PTC_PTCLISTTOOL_H

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "ptc/PtcLocalIDMng.h"
#include "shm/IFSHM.h"
#include "shm/TimeTool.h"

// The insert, refresh and ageing logic shared by the three participant
// lists. `List` is the list's layout in its segment (a CountedList of
// records); `Key` has `static bool same(const Rec&, const Rec&)`, the list's
// identity of a participant.
//
// The full test of the insert compares the bytes of the listed records with
// the whole segment size, count bytes included, so it lets exactly one record
// more than the array holds into the list; that record lies directly after
// the array, past the bytes asked for the segment. The kernel maps segments in
// whole pages, and the static_assert below keeps that record inside the last
// page of every list that uses this helper. Every reader and writer here
// therefore works on the list's reach, the array plus that one record
// (`Image`), and bounds a count read from the segment by CAP + 1 before
// indexing, so nobody reads or writes past the mapped pages.
template <typename List, typename Key>
class PtcListTool {
public:
    using Rec = typename std::remove_reference<decltype(std::declval<List&>().items[0])>::type;
    static constexpr int CAP = List::capacity;
    static constexpr int MAX_LISTED = CAP + 1;  // the array plus the one record past it
    static constexpr double MAX_AGE = 2.0;      // seconds; a record exactly this old stays
    static constexpr int SEGMENT_SIZE = (int)sizeof(List);
    static constexpr int PAGE_SIZE = 4096;      // the smallest page any Linux target maps

#pragma pack(push, 1)
    // The list's reach: its layout followed by room for the one extra record.
    struct Image {
        List list;
        Rec spare;
    };
#pragma pack(pop)
    static constexpr int REACH = (int)sizeof(Image);
    static_assert(REACH <= (SEGMENT_SIZE + PAGE_SIZE - 1) / PAGE_SIZE * PAGE_SIZE,
                  "the record past the array must stay inside the segment's last page");

    // Record i of a list image (i may be CAP, the record past the array).
    static Rec* at(void* list, int i)
    {
        return (Rec*)((char*)list + sizeof(int32_t) + (size_t)i * sizeof(Rec));
    }
    static const Rec* at(const void* list, int i)
    {
        return (const Rec*)((const char*)list + sizeof(int32_t) + (size_t)i * sizeof(Rec));
    }

    // The stored count bounded to [0, MAX_LISTED]: a writer that died halfway
    // may have left any value.
    static int listedCount(const void* list)
    {
        int32_t count;
        memcpy(&count, list, sizeof count);
        return count < 0 ? 0 : (count > MAX_LISTED ? MAX_LISTED : count);
    }

    // Refreshes the participant that matches *rec (the first one in list
    // order) or appends it, stamping rec's refresh time and local identifier
    // before copying it. 1 refreshed, 2 inserted, -1 full (nothing changed)
    // or null arguments.
    static int insertUpdate(void* list, Rec* rec)
    {
        if (list == nullptr || rec == nullptr) {
            return -1;
        }
        int listed = listedCount(list);
        for (int i = 0; i < listed; ++i) {
            Rec* stored = at(list, i);
            if (Key::same(*stored, *rec)) {
                rec->localID = stored->localID;  // kept for as long as it is listed
                rec->refreshTime();
                memcpy((void*)stored, (const void*)rec, sizeof(Rec));
                return 1;
            }
        }
        if ((int64_t)listed * (int64_t)sizeof(Rec) >= SEGMENT_SIZE) {
            return -1;
        }
        rec->localID = PtcLocalIDMng::getNextLocalID();
        rec->refreshTime();
        memcpy((void*)at(list, listed), (const void*)rec, sizeof(Rec));
        int32_t count = listed + 1;
        memcpy(list, &count, sizeof count);
        return 2;
    }

    // Removes the records more than MAX_AGE seconds older than `now`, the
    // rest moving up in order. The list is rebuilt in a fresh image and
    // written back whole, its reach included. 1.
    static int refreshAt(void* list, double now)
    {
        if (list == nullptr) {
            return -1;
        }
        Image fresh;
        int listed = listedCount(list);
        int32_t kept = 0;
        for (int i = 0; i < listed; ++i) {
            const Rec* stored = at(list, i);
            double age = now - stored->latestRefreshTime;
            if (!(age > MAX_AGE)) {
                memcpy((void*)at(&fresh, kept), (const void*)stored, sizeof(Rec));
                ++kept;
            }
        }
        fresh.list.count = kept;
        memcpy(list, (const void*)&fresh, sizeof fresh);
        return 1;
    }

    // Copies the listed records, in order, into *out in one pass under the
    // list's lock. 1; -1 when the segment can not be read or memory runs
    // out, *out then unchanged.
    static int update(IF_SHM& mng, std::vector<Rec>* out)
    {
        return mng.operateSHMNotSafe(copyOut, out);
    }

private:
    static int copyOut(void* list, void* arg)
    {
        std::vector<Rec>* out = (std::vector<Rec>*)arg;
        int listed = listedCount(list);
        out->resize(listed);  // throws before anything changed
        if (listed > 0) {
            memcpy((void*)out->data(), (const void*)at(list, 0), (size_t)listed * sizeof(Rec));
        }
        return 1;
    }
};

#endif
