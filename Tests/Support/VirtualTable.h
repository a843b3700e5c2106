#pragma once
// Where an object's virtual operations stand in its tables, which is the interface between host and plug-in.

#include <bit>
#include <cstddef>

namespace TestSupport {

/// The entry of its class's first table that holds a virtual operation, read from a pointer to it. A
/// destructor has two entries.
template <typename Member>
std::ptrdiff_t entryOf(Member member) {
    struct Layout {
        std::ptrdiff_t offsetPlusOne;
        std::ptrdiff_t adjustment;
    };
    static_assert(sizeof(Member) == sizeof(Layout));
    return (std::bit_cast<Layout>(member).offsetPlusOne - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// The function at an entry of the table that `part`, a part of an object, begins with.
template <typename Function, typename Part>
Function* functionAt(const Part* part, std::size_t entry) {
    return reinterpret_cast<Function*>((*reinterpret_cast<void* const* const*>(part))[entry]);
}

} // namespace TestSupport
