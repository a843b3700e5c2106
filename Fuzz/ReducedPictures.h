#pragma once
// What a decoder gives that reduces the samples on the way, beside what is reduced afterwards.

#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"

#include <cstddef>
#include <cstring>

namespace Fuzz {

inline bool isSame(const image_t& left, const image_t& right) {
    if (left.format != right.format || left.width != right.width || left.height != right.height)
        return false;
    if (left.pixels == nullptr || right.pixels == nullptr)
        return left.pixels == right.pixels;
    const std::size_t bytes = image_t::byteCount(left.format, left.width, left.height);
    return std::memcmp(left.pixels.get(), right.pixels.get(), bytes) == 0;
}

/// True if both are of one file, and nothing is left whole that could be reduced, unless it `mayBeLeft`.
/// `whole` is what the decoder gives as such; its samples are reduced by this if they are in `onTheWay`.
inline bool isReduction(const Korva::ReducedPicture& onTheWay, const image_t& whole,
                        std::size_t samplesPerPixel, bool mayBeLeft = false) {
    const image_t& picture = onTheWay.picture;
    const bool isReducible = (whole.format & ~image_t::layoutMask) == image_t::depth16 &&
                             image_t::channels(whole.format) == samplesPerPixel && whole.width > 0 &&
                             whole.height > 0;
    if (!onTheWay.blackPixels)
        return (mayBeLeft || !isReducible) && isSame(picture, whole);
    if (!isReducible || (picture.format | image_t::depth16) != whole.format || picture.width != whole.width ||
        picture.height != whole.height)
        return false;
    const std::size_t pixels = static_cast<std::size_t>(whole.width) * whole.height;
    const std::size_t black = Korva::reduceSamples(whole.pixels.get(), pixels, samplesPerPixel);
    return black == *onTheWay.blackPixels &&
           std::memcmp(picture.pixels.get(), whole.pixels.get(), pixels * samplesPerPixel) == 0;
}

} // namespace Fuzz
