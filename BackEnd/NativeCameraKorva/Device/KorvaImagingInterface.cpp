#include "NativeCameraKorva/KorvaImagingInterface.h"

#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaInternals.h"
#include "NativeCameraKorva/KorvaLog.h"

#include <utility>

namespace {

// Obtained so that the host can name it; nothing is logged here.
const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaImagingInterface");

constexpr int bitsPerSample = 8;

} // namespace

KorvaImagingInterface::KorvaImagingInterface(Device& device, std::shared_ptr<KorvaInternals> internals)
    : ImagingInterface(device), internals_(std::move(internals)) {}

KorvaImagingInterface::~KorvaImagingInterface() = default;

Point<int, 2> KorvaImagingInterface::getResolution() {
    const CameraInfo info = dynamic_cast<const KorvaCamera&>(getDevice()).getCameraInfo();
    return Point<int, 2>(info.getResolutionX(), info.getResolutionY());
}

int KorvaImagingInterface::getBitDepth() {
    return bitsPerSample;
}

void KorvaImagingInterface::setExposureTime(int time) {
    internals_->setExposureTime(time);
}

int KorvaImagingInterface::getExposureTime() {
    return internals_->getExposureTime();
}

void* KorvaImagingInterface::getImage() {
    // Kept for the call: a health callback may remove the interfaces.
    const std::shared_ptr<KorvaInternals> internals = internals_;
    return internals->getImaging1Image();
}
