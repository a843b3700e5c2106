#include "ExpectedPixels.h"

#include "Camera/Scene.h"

#include <algorithm>

namespace Integration {

namespace {

unsigned char reduced(std::uint16_t sample) {
    return static_cast<unsigned char>(std::min(sample / 64, 255));
}

unsigned char luma(unsigned red, unsigned green, unsigned blue) {
    return static_cast<unsigned char>((299 * red + 587 * green + 114 * blue + 500) / 1000);
}

} // namespace

Bytes expectedPixels(const Simulator::CameraSettings& settings, const CaptureKind& kind, int exposureUnits) {
    // Modes 1 and 2 give colour, mode 3 gives grey.
    const unsigned channels = kind.monochrome && !kind.forceMode1 ? 1 : 3;
    const Simulator::Picture picture =
        Simulator::renderScene(settings.scene.kind, settings.pictureSize(), channels,
                               static_cast<unsigned>(exposureUnits), settings.seed);
    const std::size_t pixels = std::size_t{picture.size.width} * picture.size.height;
    Bytes grey(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        // One sample per pixel of a colour picture: the first so many samples, one after the other.
        if (kind.monochrome)
            grey[i] = reduced(picture.samples[i]);
        else
            grey[i] = luma(reduced(picture.samples[3 * i]), reduced(picture.samples[3 * i + 1]),
                           reduced(picture.samples[3 * i + 2]));
    }
    return grey;
}

} // namespace Integration
