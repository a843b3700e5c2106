#pragma once
// The files that a camera may send a picture as.

#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include <cstdint>
#include <istream>
#include <string>

namespace Korva {

/// A kind of file.
struct PictureFormat {
    std::uint8_t code;                     ///< asks the camera for it
    const char* extension;                 ///< of a file of it, with the dot
    image_t (*decode)(std::istream& file); ///< an empty image for a broken file; never throws
};

// A new format is a row here.
inline constexpr PictureFormat sgiFormat{1, ".sgi", decodeSgi};
inline constexpr PictureFormat pngFormat{2, ".png", [](std::istream& file) {
                                             std::string text; // which nobody asks for
                                             return decodePng(file, text);
                                         }};

/// The format that callers from outside name by a flag.
constexpr const PictureFormat& pictureFormat(bool png) noexcept {
    return png ? pngFormat : sgiFormat;
}

} // namespace Korva
