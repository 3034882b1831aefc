#ifndef V2XSHM_TESTS_SPACE_PACKEDVALUE_H
#define V2XSHM_TESTS_SPACE_PACKEDVALUE_H

// The value of a packed record's member. GoogleTest's comparisons take const
// references, and a reference bound straight to an unaligned double or float
// makes the ARM target fault on the load; passing by value copies it safely.
template <typename T>
T copyOf(T value)
{
    return value;
}

#endif
