#pragma once
// What a picture looks like, in numbers.

#include <cstdint>

namespace Diagnosis {

/// Measured on a whole grey picture of 8 bits.
struct PictureFacts {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned minimum = 0;
    unsigned maximum = 0;
    double mean = 0.0;           ///< 0 to 255
    double clipped = 0.0;        ///< share of the pixels that are 255, 0 to 1
    double black = 0.0;          ///< share of the pixels that are 0
    unsigned percentile1 = 0;    ///< the least value that at least 1 % of the pixels do not exceed
    unsigned percentile50 = 0;   ///< the median, likewise
    unsigned percentile99_5 = 0; ///< likewise

    bool operator==(const PictureFacts&) const = default;
};

} // namespace Diagnosis
