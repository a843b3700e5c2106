#pragma once
// For a program that links OperatorNew.cpp: it defines these two, and every library of the process allocates
// through them.

#include <cstddef>

namespace Support {

/// What operator new gets its memory from; `alignment` is 0 for the usual one. Null where there is none, for
/// which a new that throws throws std::bad_alloc.
void* allocate(std::size_t bytes, std::size_t alignment) noexcept;

/// What operator delete does; null is nothing.
void release(void* memory) noexcept;

} // namespace Support
