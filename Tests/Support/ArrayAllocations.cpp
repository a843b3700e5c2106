#include "Support/ArrayAllocations.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// Each test program that links this file has one thread.
const void* watchedArray = nullptr;
int frees = 0;
std::size_t lastLength = 0;
bool isShort = false;

} // namespace

namespace Support {

FreeCounter::FreeCounter(const void* array) {
    watchedArray = array;
    frees = 0;
}

FreeCounter::~FreeCounter() {
    watchedArray = nullptr;
}

int FreeCounter::count() const {
    return frees;
}

std::size_t lastArrayLength() {
    return lastLength;
}

ArrayShortage::ArrayShortage() {
    isShort = true;
}

ArrayShortage::~ArrayShortage() {
    isShort = false;
}

} // namespace Support

void* operator new[](std::size_t length, const std::nothrow_t&) noexcept {
    lastLength = length;
    void* const array = isShort ? nullptr : std::malloc(length == 0 ? 1 : length);
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
    if (array != nullptr && array == watchedArray)
        ++frees;
    std::free(array);
}

void operator delete[](void* array, std::size_t) noexcept {
    operator delete[](array);
}

void operator delete[](void* array, const std::nothrow_t&) noexcept {
    operator delete[](array);
}
