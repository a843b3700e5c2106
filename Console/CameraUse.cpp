#include "CameraUse.h"

#include "CommandRun.h"
#include "DumpFolder.h"
#include "ProgressBar.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "Device/CaptureCmds.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "Platform/Terminal.h"
#include "ReferenceHost/OperationLimits.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace Console {

namespace {

/// The first that is read of an answer, and of nothing else so many bytes.
constexpr std::size_t headerBytes = 6;

/// Of the answer to a probe: more than an argument takes.
constexpr std::size_t mostOfAnAnswer = 64;

/// Before that a picture takes little memory, and one that only drips never gets there.
constexpr std::uint64_t fetchedWithoutAPlace = std::uint64_t{1} << 20;

void setProgressObserver(const NativeCamera& camera, PosixEthernetCommunicator::ProgressObserver observer) {
    if (auto* const connection = dynamic_cast<PosixEthernetCommunicator*>(camera.getCommunicator()))
        connection->setProgressObserver(std::move(observer));
}

void setReadObserver(const NativeCamera& camera, PosixEthernetCommunicator::ReadObserver observer) {
    if (auto* const connection = dynamic_cast<PosixEthernetCommunicator*>(camera.getCommunicator()))
        connection->setReadObserver(std::move(observer));
}

/// Of an answer whose first argument is `Error` (see Docs/Protocol.md, "Binary messages"): the plug-in takes
/// it for a sign of life and tells nothing of it.
std::optional<std::int64_t> errorCodeIn(const std::vector<unsigned char>& answer) {
    constexpr unsigned char error = 1;
    constexpr std::size_t valueBytes = 4;
    constexpr std::size_t value = headerBytes + 5; // behind the argument's code and length
    const bool isError = answer.size() >= value + valueBytes && answer[headerBytes - 1] >= 1 &&
                         answer[headerBytes] == error && answer[value - 1] == valueBytes;
    if (!isError)
        return std::nullopt;
    std::int64_t code = 0;
    for (std::size_t i = 0; i < valueBytes; ++i)
        code = code << 8 | answer[value + i];
    return code;
}

void setHealthCallback(NativeCamera& camera, NetworkHealthCallback callback) {
    using Tolvane::DeviceFramework2::Device::SetNetworkHealthCallback;
    camera.execInternal(std::make_shared<SetNetworkHealthCallback>(std::move(callback)), {});
}

} // namespace

CameraUse::CameraUse(NativeCamera& camera, ProgressBar& bar, const TimeLimits& limits, FetchGate* gate)
    : camera_(camera), bar_(bar), limits_(limits), gate_(gate) {
    setHealthCallback(camera_, [this](NetworkHealth health) { reported_ = health; });
    setProgressObserver(camera_,
                        [this](std::size_t received, std::size_t expected) { observe(received, expected); });
}

/// While the camera reads: the header of its answer, its arguments, its checksum.
void CameraUse::observe(std::size_t received, std::size_t expected) {
    if (Platform::interrupted())
        throw Interrupted();
    bar_.observe(received, expected);
    noteFetched(expected);
    if (expected != headerBytes) {
        if (gate_ != nullptr && place_ == nullptr && bar_.received() > fetchedWithoutAPlace)
            place_ = gate_->enter();
        return;
    }
    if (place_ != nullptr) { // what was fetched is of no use, and another attempt begins
        place_.reset();
        exposingSince_ = Clock::now();
    }
    if (received == 0 && exposingSince_)
        bar_.show(exposingText(std::chrono::duration<double>(Clock::now() - *exposingSince_).count(),
                               exposureUnits_));
}

/// The first long argument of an answer is what the plug-in dumps of it.
void CameraUse::noteFetched(std::size_t expected) {
    constexpr std::size_t longestShortOne = 16; // which no picture file is as short as
    if (expected == headerBytes)
        fetchedBytes_.reset();
    else if (expected > longestShortOne && !fetchedBytes_)
        fetchedBytes_ = expected;
    DumpFolder::noteFetched(fetchedBytes_);
}

CameraUse::~CameraUse() {
    setProgressObserver(camera_, {});
    setReadObserver(camera_, {});
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
        throw CommandFailure(
            Diagnosis::Trouble{.what = Diagnosis::Obstacle::noImaging, .place = placeOf(camera_)});
    imaging->setExposureTime(units * exposureTimePerUnit);
    exposureUnits_ = units;
}

std::optional<image_t> CameraUse::takePicture() {
    using Tolvane::DeviceFramework2::Device::Capture::FillMonoImage;
    reported_.reset();
    image_t picture;
    const ReferenceHost::OperationLimits limits(limits_.ofPicture(exposureUnits_));
    exposingSince_ = Clock::now();
    try {
        camera_.execInternal(std::make_shared<FillMonoImage>(picture), {});
    } catch (...) {
        endPicture();
        throw;
    }
    endPicture();
    // The pixels alone do not tell: without a picture they are black.
    const bool captured = reported_ && reported_->getCode() == NetworkHealth::pictureCaptured;
    const bool isGrey = picture.pixels != nullptr && image_t::bytesPerPixel(picture.format) == 1;
    if (!captured || !isGrey)
        return std::nullopt;
    return picture;
}

void CameraUse::endPicture() {
    DumpFolder::noteFetched(std::nullopt);
    place_.reset();
    exposingSince_.reset();
}

CameraUse::Probe CameraUse::probe() {
    reported_.reset();
    const auto answer =
        std::make_shared<std::vector<unsigned char>>(); // also the observer's, who may outlive this
    setReadObserver(camera_, [answer](const unsigned char* data, std::size_t count) {
        answer->insert(answer->end(), data, data + std::min(count, mostOfAnAnswer - answer->size()));
    });
    const ReferenceHost::OperationLimits limits(limits_.ofProbe());
    const bool isAlive = camera_.isAlive();
    setReadObserver(camera_, {});
    if (isAlive)
        return {std::nullopt, errorCodeIn(*answer)};
    return {reported_.value_or(NetworkHealth(NetworkHealth::connectionCheckFailed)), std::nullopt};
}

} // namespace Console
