#pragma once
// The loops over a picture's samples, vectorised for the processor that runs them.

#include <cstddef>

namespace Korva {

/// Interleaves one row: for each of `pixels` pixels one sample of each of `channels` (1, 3 or 4) planes.
/// `planes[c]` points to `pixels` big-endian 16-bit samples, at any address; `row` receives
/// pixels x channels little-endian ones. The row does not overlap the planes.
void interleaveRow(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                   unsigned char* row) noexcept;

/// Both at once, of 1 or 3 channels: `row` receives pixels x channels samples of 8 bits, as reduceSamples
/// makes them of an interleaved row. Returns how many of the pixels are black.
std::size_t interleaveReducedRow(const unsigned char* const* planes, std::size_t channels, std::size_t pixels,
                                 unsigned char* row) noexcept;

/// Reduces pixels x `samplesPerPixel` (1 or 3) 16-bit samples in host byte order at `samples` to 8-bit ones,
/// in place: sample x becomes byte min(x >> 6, 255) at the front of the buffer, so that 14-bit samples fill
/// 0 to 255 and 16384 and above saturate. Returns the number of pixels whose samples were all zero.
std::size_t reduceSamples(unsigned char* samples, std::size_t pixels, std::size_t samplesPerPixel) noexcept;

} // namespace Korva
