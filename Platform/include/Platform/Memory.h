#pragma once
// How a program that handles many large buffers keeps its memory, and what is behind them.

#include <cstddef>

namespace Platform {

/// From now on up to `bytes` of freed memory stay with the process for its next buffers, instead of going
/// back to the system after each picture: the first touch of fresh pages costs several times what copying
/// into used ones does. Threads share it, as far as the allocator can. Process-wide, for the program itself
/// to decide, early in main(). Does nothing if the system's allocator has no such setting.
void keepFreedMemory(std::size_t bytes) noexcept;

/// Asks the system for larger pages behind a large buffer that has not been written yet: fewer of them to be
/// had and cleared on its first use. Any buffer and any thread; advice only, so nothing tells whether it was
/// heeded. Does nothing to a buffer that holds no such page, and if the system has none.
void preferLargePages(void* buffer, std::size_t bytes) noexcept;

} // namespace Platform
