#pragma once
// What a capture of a simulated camera should give.

#include "Camera/CameraSettings.h"
#include "Camera/Scene.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Integration {

using Bytes = std::vector<unsigned char>;

/// The arguments of Korva::capture that a test chooses.
struct CaptureKind {
    bool forceMode1 = false;
    bool png = false;
    bool monochrome = false;
};

/// The grey pixels that a capture of the camera's scene must give, worked out from the scene's samples
/// without a line of the plug-in: divided by 64 and cut off at 255, then 0.299 R + 0.587 G + 0.114 B,
/// rounded.
inline Bytes expectedPixels(const Simulator::CameraSettings& settings, const CaptureKind& kind,
                            int exposureUnits) {
    // Modes 1 and 2 give colour, mode 3 gives grey.
    const unsigned channels = kind.monochrome && !kind.forceMode1 ? 1 : 3;
    const Simulator::Picture picture =
        Simulator::renderScene(settings.scene.kind, settings.pictureSize(), channels,
                               static_cast<unsigned>(exposureUnits), settings.seed);
    const std::size_t pixels = std::size_t{picture.size.width} * picture.size.height;
    const auto reduced = [&picture](std::size_t sample) {
        return static_cast<unsigned>(std::min(picture.samples[sample] / 64, 255));
    };
    Bytes grey(pixels);
    for (std::size_t i = 0; i < pixels; ++i) {
        // One sample per pixel of a colour picture: the first so many samples, one after the other.
        const unsigned value =
            kind.monochrome
                ? reduced(i)
                : (299 * reduced(3 * i) + 587 * reduced(3 * i + 1) + 114 * reduced(3 * i + 2) + 500) / 1000;
        grey[i] = static_cast<unsigned char>(value);
    }
    return grey;
}

} // namespace Integration
