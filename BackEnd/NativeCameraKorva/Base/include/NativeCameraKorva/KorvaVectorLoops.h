#pragma once
// What the vectorised loops over many bytes have in common.

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstddef>

namespace Korva {

/// How many bytes or pixels a loop's vectors did, and what they counted in them.
struct Progress {
    std::size_t done = 0;
    std::size_t count = 0;
};

/// Asks for what a loop with `left` bytes from `bytes` on, at least a round, will read some rounds later. A
/// picture does not fit the caches; a loop that asks for its bytes this early runs at the memory's speed.
inline void prefetchRound(const unsigned char* bytes, std::size_t left, std::size_t bytesOfARound) {
    constexpr std::size_t cacheLine = 64;
    constexpr std::size_t prefetchDistance = 8192;
    const unsigned char* const later = bytes + std::min(prefetchDistance, left - bytesOfARound);
    for (std::size_t line = 0; line < bytesOfARound; line += cacheLine)
        hwy::Prefetch(later + line);
}

} // namespace Korva
