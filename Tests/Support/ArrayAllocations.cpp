#include "Support/ArrayAllocations.h"

#include <cstdlib>
#include <cstring>
#include <new>

using Support::Arrays;

void* operator new[](std::size_t length, const std::nothrow_t&) noexcept {
    Arrays::lastLength = length;
    void* const array = Arrays::areShort ? nullptr : std::malloc(length == 0 ? 1 : length);
    if (array != nullptr)
        std::memset(array, Support::freshByte, length);
    return array;
}

void* operator new[](std::size_t length) {
    void* const array = std::malloc(length == 0 ? 1 : length);
    if (array == nullptr)
        throw std::bad_alloc();
    return array;
}

void operator delete[](void* array) noexcept {
    if (array != nullptr && array == Arrays::watched)
        ++Arrays::frees;
    std::free(array);
}

void operator delete[](void* array, std::size_t) noexcept {
    operator delete[](array);
}

void operator delete[](void* array, const std::nothrow_t&) noexcept {
    operator delete[](array);
}
