#pragma once
// Draws, the same ones for the same seed.

#include <cstddef>
#include <cstdint>
#include <random>

namespace Soak {

/// One thread.
class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t bits() { return engine_(); }
    /// 0 to `count` - 1; the same on every system.
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
    bool oneIn(std::size_t count) { return below(count) == 0; }

    template <typename List>
    const auto& of(const List& list) {
        return list[below(std::size(list))];
    }

private:
    std::mt19937_64 engine_;
};

} // namespace Soak
