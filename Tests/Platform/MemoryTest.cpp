#include "Platform/Memory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <malloc.h>
#include <memory>

namespace {

/// What the process has of memory that nobody uses, after two buffers of a picture's size came and went.
std::size_t bytesKeptAfterAPicture() {
    constexpr std::size_t pictureBytes = std::size_t{30} << 20;
    {
        // Looked at through a volatile, or the compiler leaves the buffers out.
        const auto file = std::make_unique_for_overwrite<unsigned char[]>(pictureBytes);
        const auto samples = std::make_unique_for_overwrite<unsigned char[]>(pictureBytes);
        for (unsigned char* volatile buffer : {file.get(), samples.get()})
            std::memset(buffer, 1, pictureBytes);
    }
    return mallinfo2().fordblks;
}

TEST(FreedMemory, StaysWithAProcessThatAsksForIt) {
    // If a sanitizer has replaced the allocator, there is nothing to be seen.
    const bool isReplaced = mallinfo2().arena == 0;
    Platform::keepFreedMemory(std::size_t{128} << 20);
    const std::size_t kept = bytesKeptAfterAPicture();
    EXPECT_TRUE(isReplaced || kept >= std::size_t{60} << 20) << kept;
}

} // namespace
