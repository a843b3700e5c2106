#include "Support/OperatorNew.h"

#include <new>

namespace {

void* allocateOrThrow(std::size_t bytes, std::size_t alignment) {
    void* const memory = Support::allocate(bytes, alignment);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t bytes) {
    return allocateOrThrow(bytes, 0);
}
void* operator new[](std::size_t bytes) {
    return allocateOrThrow(bytes, 0);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return Support::allocate(bytes, 0);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return Support::allocate(bytes, 0);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    Support::release(memory);
}
void operator delete[](void* memory) noexcept {
    Support::release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    Support::release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    Support::release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    Support::release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    Support::release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    Support::release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    Support::release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    Support::release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    Support::release(memory);
}
