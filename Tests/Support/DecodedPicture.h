#pragma once
// A decoded picture that tests can compare and print.

#include "ImagingLibrary/image_t.h"
#include "Support/PictureFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>

namespace Support {

struct DecodedPicture {
    std::uint32_t format = 0;
    std::int32_t width = 0;
    std::uint32_t height = 0;
    Bytes pixels;
    bool operator==(const DecodedPicture&) const = default;
};

/// What an image has that holds no picture.
inline const DecodedPicture noPicture;

inline DecodedPicture pictureOf(const image_t& image) {
    DecodedPicture picture{image.format, image.width, image.height, {}};
    if (image.pixels != nullptr)
        picture.pixels.assign(image.pixels.get(), image.pixels.get() + image.bytesPerRow() * image.height);
    return picture;
}

inline void PrintTo(const DecodedPicture& picture, std::ostream* out) {
    *out << "format " << picture.format << ", " << picture.width << " x " << picture.height << ", "
         << testing::PrintToString(picture.pixels);
}

} // namespace Support
