#include "CameraUse.h"

#include "CommandRun.h"
#include "ProgressBar.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "Platform/Terminal.h"
#include "ReferenceHost/OperationLimits.h"

#include <utility>

namespace Console {

namespace {

constexpr int exposureTimePerUnit = 10'000; // the host counts 10 microseconds, the camera 100 ms

void setProgressObserver(const NativeCamera& camera, PosixEthernetCommunicator::ProgressObserver observer) {
    if (auto* const connection = dynamic_cast<PosixEthernetCommunicator*>(camera.getCommunicator()))
        connection->setProgressObserver(std::move(observer));
}

void setHealthCallback(NativeCamera& camera, NetworkHealthCallback callback) {
    using Tolvane::DeviceFramework2::Device::SetNetworkHealthCallback;
    camera.execInternal(std::make_shared<SetNetworkHealthCallback>(std::move(callback)), {});
}

} // namespace

CameraUse::CameraUse(NativeCamera& camera, ProgressBar& bar, const TimeLimits& limits)
    : camera_(camera), limits_(limits) {
    setHealthCallback(camera_, [this](NetworkHealth health) { reported_ = health; });
    setProgressObserver(camera_, [&bar](std::size_t received, std::size_t expected) {
        bar.observe(received, expected);
        if (Platform::interrupted())
            throw Interrupted();
    });
}

CameraUse::~CameraUse() {
    setProgressObserver(camera_, {});
    try {
        setHealthCallback(camera_, {});
    } catch (...) {
        // It goes with its camera.
    }
}

void CameraUse::setExposure(int units) {
    auto* const imaging =
        dynamic_cast<ImagingInterface*>(camera_.getInterface(ImagingInterface::interfaceTypeName));
    if (imaging == nullptr)
        throw CommandFailure(placeOf(camera_) + " takes no pictures");
    imaging->setExposureTime(units * exposureTimePerUnit);
    exposureUnits_ = units;
}

std::optional<image_t> CameraUse::takePicture() {
    using Tolvane::DeviceFramework2::Device::Capture::FillMonoImage;
    reported_.reset();
    image_t picture;
    const ReferenceHost::OperationLimits limits(limits_.ofPicture(exposureUnits_));
    camera_.execInternal(std::make_shared<FillMonoImage>(picture), {});
    // The pixels alone do not tell: without a picture they are black.
    const bool captured = reported_ && reported_->getCode() == NetworkHealth::pictureCaptured;
    const bool isGrey = picture.pixels != nullptr && image_t::bytesPerPixel(picture.format) == 1;
    if (!captured || !isGrey)
        return std::nullopt;
    return picture;
}

std::optional<NetworkHealth> CameraUse::probe() {
    reported_.reset();
    const ReferenceHost::OperationLimits limits(limits_.ofProbe());
    if (camera_.isAlive())
        return std::nullopt;
    return reported_.value_or(NetworkHealth(NetworkHealth::connectionCheckFailed));
}

} // namespace Console
