#include "ServedCamera.h"

#include "NativeCameraKorva/KorvaHelper.h"

namespace Integration {

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

} // namespace Integration
