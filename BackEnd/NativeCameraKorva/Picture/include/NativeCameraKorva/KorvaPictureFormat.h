#pragma once
// The files that a camera may send a picture as.

#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include <cstdint>
#include <istream>

namespace Korva {

/// A kind of file.
struct PictureFormat {
    std::uint8_t code;     ///< asks the camera for it
    const char* extension; ///< of a file of it, with the dot
    /// An empty image for a broken file; never throws.
    ReducedPicture (*decode)(std::istream& file, unsigned int samplesPerPixel);
};

// A new format is a row here.
inline constexpr PictureFormat sgiFormat{1, ".sgi", decodeReducedSgi};
inline constexpr PictureFormat pngFormat{2, ".png", decodeReducedPng};

/// The format that callers from outside name by a flag.
constexpr const PictureFormat& pictureFormat(bool png) noexcept {
    return png ? pngFormat : sgiFormat;
}

} // namespace Korva
