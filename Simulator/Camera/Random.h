#pragma once
// Random bits that are the same on every machine for the same seed.

#include <cstdint>

namespace Simulator {

/// The bits that belong to `index` in the sequence of `seed` (SplitMix64).
inline std::uint64_t randomBits(std::uint64_t seed, std::uint64_t index) {
    std::uint64_t bits = seed + (index + 1) * 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31);
}

} // namespace Simulator
