#include "status/CommRecord.h"

CommRecord::CommRecord() : latestIndex(0), count(0) {}

int CommRecord::validLatestIndex() const
{
    int32_t i = latestIndex;
    return (i < 0 || i >= CAPACITY) ? 0 : i;
}

int CommRecord::validCount() const
{
    int32_t n = count;
    return n < 0 ? 0 : (n > CAPACITY ? CAPACITY : n);
}

int CommRecord::slotOfNewest(int i) const
{
    return ((validLatestIndex() - i) % CAPACITY + CAPACITY) % CAPACITY;
}
