#pragma once
// Small pictures as a camera sends them, from their samples.

#include "Support/PictureFiles.h"

#include <cstdint>
#include <vector>

namespace TestSupport {

/// A picture's samples: rows from the top, channels of a pixel adjacent.
struct Samples {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint16_t channels = 0;
    std::vector<std::uint16_t> values;
};

/// The picture with every sample `value`.
Samples uniformSamples(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                       std::uint16_t value);

/// An uncompressed SGI file of 16-bit samples, 1, 3 or 4 channels.
Support::Bytes sgiFile(const Samples& samples);

/// The header of an SGI file alone; `bytesPerSample` 1 or 2.
Support::Bytes sgiHeader(std::uint16_t width, std::uint16_t height, std::uint16_t channels,
                         std::uint8_t bytesPerSample);

/// A PNG file, 1 to 4 channels, of `bitDepth` 8 or 16; for 8 bits each sample's low byte is written.
Support::Bytes pngFile(const Samples& samples, std::uint8_t bitDepth = 16);

} // namespace TestSupport
