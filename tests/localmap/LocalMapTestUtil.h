#ifndef V2XSHM_TESTS_LOCALMAP_LOCALMAPTESTUTIL_H
#define V2XSHM_TESTS_LOCALMAP_LOCALMAPTESTUTIL_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "localmap/LMNodeExtend.h"
#include "space/IFPosition.h"

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

// The flattened image of an extended record: equal images mean equal
// records (base fields, children, key order, vector order, dis2End).
template <typename T>
std::vector<char> flatOf(const T& rec)
{
    std::vector<char> bytes(rec.flatSize());
    int pos = 0;
    rec.Obj2Buff(bytes.data(), &pos);
    return bytes;
}

// Bytes a message writer produces for rec.
template <typename Write, typename Rec>
int wireSize(Write write, const Rec& rec)
{
    std::vector<char> out;
    return write(rec, &out);
}

// A point `east` and `north` metres from a fixed origin at 30 N, 120 E.
GeoCoordinates geoAt(double east, double north);
LMPointBase pointAt(double east, double north);

LMMovementBase movement(int64_t remote, uint8_t phase = 0);

// A node that uses every kind of child: two links (one with two lanes),
// speed limits, points, movements, names of various lengths.
LMNodeExtend sampleNode(int64_t nodeId);

#endif
