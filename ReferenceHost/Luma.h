#pragma once
// Grey values of colour pixels, vectorised for the processor that runs it.

#include <cstddef>

namespace ReferenceHost {

/// Writes the luma of Recommendation ITU-R BT.601 of each of `pixels` pixels: 0.299 R + 0.587 G + 0.114 B,
/// rounded to the nearest integer, halves up; exactly so for every colour.
///
/// `rgb` holds three bytes a pixel, `grey` receives one. They do not overlap, and have any alignment.
void lumaFromRgb(const unsigned char* rgb, std::size_t pixels, unsigned char* grey) noexcept;

} // namespace ReferenceHost
