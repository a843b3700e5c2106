#include "Allocations.h"

#include "Support/OperatorNew.h"

#include <cstddef>
#include <cstdlib>

namespace {

long live = 0;

/// True where the allocation that is now asked for is to fail.
bool failsNow() {
    return TestSupport::PluginAtWork::isNow() && World::Calls::current().planned("allocation").has_value();
}

} // namespace

long Torture::liveAllocations() {
    return live;
}

// The linker's --wrap=malloc leads here what the program's own objects call, the plug-in's among them:
// libpng's memory comes that way.
extern "C" {
void* __real_malloc(std::size_t bytes);
void* __wrap_malloc(std::size_t bytes);

void* __wrap_malloc(std::size_t bytes) {
    return failsNow() ? nullptr : __real_malloc(bytes);
}

// The first of libpng's two structures comes from its own malloc, before the plug-in's is in force.
void* __real_png_create_read_struct(const char* version, void* context, void* error, void* warning);
void* __wrap_png_create_read_struct(const char* version, void* context, void* error, void* warning);

void* __wrap_png_create_read_struct(const char* version, void* context, void* error, void* warning) {
    return failsNow() ? nullptr : __real_png_create_read_struct(version, context, error, warning);
}
}

void* Support::allocate(std::size_t bytes, std::size_t alignment) noexcept {
    if (failsNow())
        return nullptr;
    void* const memory = alignment == 0
                             ? __real_malloc(bytes == 0 ? 1 : bytes)
                             : std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
    if (memory != nullptr)
        ++live;
    return memory;
}

void Support::release(void* memory) noexcept {
    if (memory != nullptr)
        --live;
    std::free(memory);
}
