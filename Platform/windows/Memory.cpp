#include "Platform/Memory.h"

// The system's allocator has no such setting.
void Platform::keepFreedMemory(std::size_t) noexcept {}

// It gives larger pages only to whom an administrator has let lock memory, and only from the beginning.
void Platform::preferLargePages(void*, std::size_t) noexcept {}
