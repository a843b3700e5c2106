#pragma once
// Watches arrays that are allocated with new[] and freed with delete[]: in a program that links it, every new
// array that is not to throw is filled with `freshByte`, so that a test sees what nobody wrote.

#include <cstddef>

namespace Support {

inline constexpr unsigned char freshByte = 0xAB;

/// What the operators go by. Each test program that links them has one thread.
struct Arrays {
    static inline const void* watched = nullptr;
    static inline int frees = 0;
    static inline std::size_t lastLength = 0;
    static inline bool areShort = false;
};

/// From construction to destruction counts how often `delete[]` frees the array at one address.
class FreeCounter {
public:
    explicit FreeCounter(const void* array) {
        Arrays::watched = array;
        Arrays::frees = 0;
    }
    FreeCounter(const FreeCounter&) = delete;
    FreeCounter& operator=(const FreeCounter&) = delete;
    ~FreeCounter() { Arrays::watched = nullptr; }
    int count() const { return Arrays::frees; }
};

/// The number of bytes that the last `new[]` that does not throw asked for.
inline std::size_t lastArrayLength() {
    return Arrays::lastLength;
}

/// From construction to destruction `new[]` that does not throw returns null.
class ArrayShortage {
public:
    ArrayShortage() { Arrays::areShort = true; }
    ArrayShortage(const ArrayShortage&) = delete;
    ArrayShortage& operator=(const ArrayShortage&) = delete;
    ~ArrayShortage() { Arrays::areShort = false; }
};

} // namespace Support
