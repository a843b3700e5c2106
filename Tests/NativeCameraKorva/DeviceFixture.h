#pragma once
// A camera device's description, its pictures and reports.

#include "ImagingLibrary/image_t.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "Support/PictureFiles.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace DeviceFixture {

using TestSupport::Bytes;

inline CameraInfo describedAs(int width, int height) {
    CameraInfo info;
    info.setCameraTypeEnum(6);
    info.setModel(L"Korva Meridian M61");
    info.setIpAddress(L"10.0.0.5");
    info.setSerialNumber(L"4711");
    info.setResolutionX(width);
    info.setResolutionY(height);
    return info;
}

/// The grey value of pixel `index`, rows from the top, of greyFile()'s picture.
inline std::uint8_t greyOf(unsigned int index, unsigned int seed = 0) {
    return static_cast<std::uint8_t>((index + seed) % 200 + 1);
}

/// An SGI file of three channels of 16 bits, all the same, whose pixels come out as greyOf() says.
inline Bytes greyFile(unsigned int width, unsigned int height, unsigned int seed = 0) {
    constexpr unsigned int samplesPerGreyStep = 64;
    TestSupport::Samples samples{
        static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 3, {}};
    for (unsigned int index = 0; index < width * height; ++index)
        samples.values.insert(samples.values.end(), 3,
                              static_cast<std::uint16_t>(greyOf(index, seed) * samplesPerGreyStep));
    return TestSupport::sgiFile(samples);
}

/// The grey pixels of that file's picture, the first `count`.
inline Bytes greyPixels(unsigned int count, unsigned int seed = 0) {
    Bytes pixels;
    for (unsigned int index = 0; index < count; ++index)
        pixels.push_back(greyOf(index, seed));
    return pixels;
}

/// What the camera reported, in order.
using Codes = std::vector<int>;

inline NetworkHealthCallback into(Codes& codes) {
    return [&codes](NetworkHealth health) { codes.push_back(health.getCode()); };
}

inline Bytes pixelsOf(const image_t& image) {
    if (image.pixels == nullptr)
        return {};
    const std::size_t count = image_t::byteCount(image.format, image.width, image.height);
    return Bytes(image.pixels.get(), image.pixels.get() + count);
}

} // namespace DeviceFixture
