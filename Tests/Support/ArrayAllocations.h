#pragma once
// Watches arrays that are allocated with new[] and freed with delete[]: in a program that links it, every new
// array is filled with `freshByte`, so that a test sees what nobody wrote.

#include <cstddef>

namespace Support {

inline constexpr unsigned char freshByte = 0xAB;

/// From construction to destruction counts how often `delete[]` frees the array at one address.
class FreeCounter {
public:
    explicit FreeCounter(const void* array);
    FreeCounter(const FreeCounter&) = delete;
    FreeCounter& operator=(const FreeCounter&) = delete;
    ~FreeCounter();
    int count() const;
};

/// The number of bytes that the last `new[]` that does not throw asked for.
std::size_t lastArrayLength();

/// From construction to destruction `new[]` that does not throw returns null.
class ArrayShortage {
public:
    ArrayShortage();
    ArrayShortage(const ArrayShortage&) = delete;
    ArrayShortage& operator=(const ArrayShortage&) = delete;
    ~ArrayShortage();
};

} // namespace Support
