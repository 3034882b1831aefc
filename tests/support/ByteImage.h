#ifndef V2XSHM_TESTS_SUPPORT_BYTEIMAGE_H
#define V2XSHM_TESTS_SUPPORT_BYTEIMAGE_H

#include <cstring>
#include <new>
#include <vector>

// Record images as another process sees them, for golden-bytes checks.
using Bytes = std::vector<unsigned char>;

inline Bytes bytesOf(const void* p, size_t n)
{
    return Bytes((const unsigned char*)p, (const unsigned char*)p + n);
}

// The image of a default-constructed T, built over 0xAA bytes so that any
// byte its constructor leaves alone shows up.
template <typename T>
Bytes freshImage()
{
    alignas(T) unsigned char storage[sizeof(T)];
    memset(storage, 0xAA, sizeof storage);
    asm volatile("" : : "r"(storage) : "memory");  // the fill must reach memory
    return bytesOf(new (storage) T, sizeof(T));
}

// A packed member by value: GoogleTest binds references, and a reference to
// an unaligned double or float makes the ARM target fault on the load.
template <typename T>
T copyOf(T value)
{
    return value;
}

#endif
