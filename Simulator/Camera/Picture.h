#pragma once
// A picture as the sensor gives it.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Simulator {

struct PictureSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    bool operator==(const PictureSize&) const = default;
};

/// What a saturated sensor pixel reads.
inline constexpr std::uint16_t saturatedSample = 16384;

/// Samples from 0 to 16384, rows from the top down, the channels of a pixel adjacent.
struct Picture {
    PictureSize size;
    unsigned channels = 1;              ///< 1 grey, 3 red, green, blue
    std::vector<std::uint16_t> samples; ///< width x height x channels
};

} // namespace Simulator
