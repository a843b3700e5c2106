#pragma once
// Which pictures a decoder may reduce as it reads them.

#include "ImagingLibrary/image_t.h"

#include <cstdint>

namespace Korva {

/// True if a file's picture has pixels, 16 bits for each of `samplesPerPixel` channels, and a size that a
/// picture of these 16 bits may have: the limit does not move by what is kept of it.
inline bool isReducible(std::uint32_t format, std::int32_t width, std::uint32_t height,
                        unsigned int samplesPerPixel) noexcept {
    return (format & ~image_t::layoutMask) == image_t::depth16 &&
           image_t::channels(format) == samplesPerPixel && width != 0 && height != 0 &&
           image_t::isAllocatable(format, width, height);
}

} // namespace Korva
