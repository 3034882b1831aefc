#include "space/VehTrace.h"

VehTrace::VehTrace() : index(0), count(0) {}

int VehTrace::boundedIndex() const
{
    int32_t i = index;
    return (i < 0 || i >= CAPACITY) ? 0 : i;
}

int VehTrace::boundedCount() const
{
    int32_t n = count;
    return n < 0 ? 0 : (n > CAPACITY ? CAPACITY : n);
}

int VehTrace::slotOf(int back) const
{
    if (back < 0 || back >= boundedCount()) {
        return -1;
    }
    return (boundedIndex() - back + CAPACITY) % CAPACITY;
}
