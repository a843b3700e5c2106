#include "ServedCamera.h"

#include "Camera/Scene.h"
#include "NativeCameraKorva/KorvaHelper.h"

namespace Integration {

namespace {

unsigned char reduced(std::uint16_t sample) {
    return static_cast<unsigned char>(std::min(sample / 64, 255));
}

unsigned char luma(unsigned red, unsigned green, unsigned blue) {
    return static_cast<unsigned char>((299 * red + 587 * green + 114 * blue + 500) / 1000);
}

} // namespace

ServedCamera::ServedCamera(const Simulator::CameraSettings& settings, std::uint16_t binaryPort)
    : server_(settings, {"127.0.0.1", binaryPort, 0, 0, [this](const std::string& event) {
                             const std::lock_guard lock(mutex_);
                             events_.push_back(event);
                         }}) {
    server_.start();
}

std::size_t ServedCamera::stopAndCount(const std::string& text) {
    server_.stop();
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(events_.begin(), events_.end(), [&](const auto& event) {
        return event.find(text) != std::string::npos;
    }));
}

ImagePointer captureFrom(Communicator& communicator, const CaptureKind& kind, int exposureUnits) {
    return ImagePointer(
        Korva::capture(&communicator, kind.forceMode1, kind.png, kind.monochrome, exposureUnits, false));
}

Bytes pixelsOf(Image* image) {
    if (image == nullptr)
        return {};
    const auto* const pixels = static_cast<const unsigned char*>(image->getRawImageData());
    return {pixels, pixels + std::size_t{image->getWidth()} * image->getHeight()};
}

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
