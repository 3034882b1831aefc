#ifndef V2XSHM_TESTS_LOCALMAP_LOCALMAPTESTUTIL_H
#define V2XSHM_TESTS_LOCALMAP_LOCALMAPTESTUTIL_H

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "localmap/LMNodeExtend.h"

// Multi-byte members of packed records are compared as copies (`+rec.field`):
// the assertion macros bind references, and a reference to an unaligned double
// or 64-bit integer faults on the ARM target.

// Bytes from text such as "01 02 ff".
std::vector<char> hexBytes(const std::string& text);

// The packed image of a record, as it is copied between processes.
template <typename T>
std::vector<char> imageOf(const T& rec)
{
    std::vector<char> bytes(sizeof(T));
    memcpy(bytes.data(), &rec, sizeof(T));
    return bytes;
}

// The flattened image of an extended record: equal images mean equal records
// (base fields, children, key order, vector order, dis2End).
template <typename T>
std::vector<char> flatOf(const T& rec)
{
    std::vector<char> bytes(rec.flatSize());
    int pos = 0;
    rec.Obj2Buff(bytes.data(), &pos);
    return bytes;
}

// Each node's key and flattened image, in key order: equal for equal maps.
std::vector<std::vector<char>> imagesOf(const std::map<int64_t, LMNodeExtend>& nodes);

// The first n bytes copied to end right before an unreadable page, so that
// a read past them faults in any build, not only under a sanitizer.
class FencedBytes {
public:
    FencedBytes(const std::vector<char>& bytes, size_t n);
    ~FencedBytes();
    FencedBytes(const FencedBytes&) = delete;
    FencedBytes& operator=(const FencedBytes&) = delete;
    const char* data() const { return start; }

private:
    char* base;
    size_t length;
    char* start;
};

// A point `east` and `north` metres from an origin, by default 30 N, 120 E.
LMPointBase pointAt(double east, double north, double lat0 = 30.0, double lon0 = 120.0);
LMMovementBase movement(int64_t remote, uint8_t phase = 0);
LMSpeedLimitBase limit(uint8_t type, float speed);

// A node that uses every kind of child: link 1000 + id (a full 64-byte name,
// lanes 1 and 2, speed limits (5, 13.9) (4, 2) (5, 8.3), movements to
// 2000 + id and 3000 + id, its lanes' to 2000 + id) and link 2000 + id.
LMNodeExtend sampleNode(int64_t nodeId);

#endif
