#include "Platform/Memory.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <sys/mman.h>

void Platform::keepFreedMemory(std::size_t bytes) noexcept {
#if defined(__GLIBC__)
    // Blocks above glibc's own limit for this setting are mapped and unmapped one by one in any case.
    constexpr int largestHeapBlock = 32 << 20;
    constexpr auto most = static_cast<std::size_t>(std::numeric_limits<int>::max());
    mallopt(M_MMAP_THRESHOLD, largestHeapBlock);
    // Else each thread has a heap of its own, and each of these keeps as much.
    constexpr int heaps = 2;
    mallopt(M_ARENA_MAX, heaps);
    mallopt(M_TRIM_THRESHOLD, static_cast<int>(std::min(bytes, most)));
#else
    static_cast<void>(bytes);
#endif
}

void Platform::preferLargePages(void* buffer, std::size_t bytes) noexcept {
#if defined(MADV_HUGEPAGE)
    // Of the common systems; where pages are larger still, the advice has no effect.
    constexpr std::uintptr_t largePage = std::uintptr_t{2} << 20;
    if (buffer == nullptr)
        return; // the system would heed it for whatever of the program lies there
    const auto begin = reinterpret_cast<std::uintptr_t>(buffer);
    const std::uintptr_t first = (begin + largePage - 1) / largePage * largePage;
    const std::uintptr_t end = (begin + bytes) / largePage * largePage;
    if (first < end)
        madvise(static_cast<unsigned char*>(buffer) + (first - begin), end - first, MADV_HUGEPAGE);
#else
    static_cast<void>(buffer);
    static_cast<void>(bytes);
#endif
}
