#ifndef V2XSHM_LOCALMAP_LMRESULTLISTTOOL_H
#define V2XSHM_LOCALMAP_LMRESULTLISTTOOL_H

// Internal to the local-map sources: moves the results a process computed
// for the host vehicle between its vector and a CountedList segment layout.
// Not installed.

#include <exception>
#include <vector>

class LMResultListTool {
public:
    // Copies the first records of `from` (at most the list's capacity) into
    // a default list and sets the count to the number copied.
    template <typename List, typename Rec>
    static void fill(List* list, const std::vector<Rec>& from)
    {
        int n = from.size() < (size_t)List::capacity ? (int)from.size() : List::capacity;
        for (int i = 0; i < n; ++i) {
            list->items[i] = from[i];
        }
        list->count = n;
    }

    // Replaces *to by the list's records in stored order. The count comes
    // from a process that may have died halfway: it is bounded by the
    // capacity. 1, or -1 when memory runs out (*to then empty).
    template <typename List, typename Rec>
    static int read(const List& list, std::vector<Rec>* to)
    {
        try {
            to->clear();
            to->reserve((size_t)list.validCount());
            for (int i = 0; i < list.validCount(); ++i) {
                to->push_back(list.items[i]);
            }
            return 1;
        } catch (const std::exception&) {
            to->clear();
            return -1;
        }
    }
};

#endif
