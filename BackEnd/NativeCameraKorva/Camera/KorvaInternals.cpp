#include "NativeCameraKorva/KorvaInternals.h"

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "DeveloperDLL/DeveloperSettings.h"
#include "NativeCameraControl/NativeCamera.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaLog.h"
#include "NativeCameraKorva/KorvaOwnedImage.h"
#include "Platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Plenar.KorvaCamera.KorvaInternals");

// Nobody reads these. They are here because constructing a setting makes it known to the host's store.
const DeveloperSettings::Boolean developerMode("developerMode");
const DeveloperSettings::Boolean tradeshow("tradeshow");
const DeveloperSettings::Boolean enableTimingProfileLogging("enableTimingProfileLogging");
const DeveloperSettings::String imageDirectory("logging.ImageDirectory");
const DeveloperSettings::WString wideImageDirectory("logging.ImageDirectory");

constexpr int initialExposureTime = 150000;
constexpr std::uint32_t exposureTimeFactor = 10;
constexpr std::int32_t exposureTimePerUnit = 100000;
constexpr std::uint16_t shortestExposure = 1;
constexpr std::uint16_t longestExposure = 3600;

} // namespace

KorvaInternals::KorvaInternals(NativeCamera* camera)
    : camera_(camera), getImageDelay_(DeveloperSettings::Boolean("KorvaGetImageDelay").value()) {
    KORVA_LOG(
        logger, Info, "KorvaInternals",
        "Korva Internals created for Korva Camera: " << Platform::utf8FromWide(camera_->getDescription()));
    setExposureTime(initialExposureTime);
}

KorvaInternals::~KorvaInternals() = default;

void KorvaInternals::setExposureTime(int time) {
    exposureTime_ = time;
    const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(time) * exposureTimeFactor);
    const auto units = static_cast<std::uint16_t>(product / exposureTimePerUnit);
    exposureUnits_ = std::clamp(units, shortestExposure, longestExposure);
    KORVA_LOG(logger, Info, "KorvaInternals", "Setting korva exposure to " << exposureUnits_ << " x100 ms");
}

void* KorvaInternals::getImaging1Image() {
    try {
        try {
            if (void* const pixels = takePicture())
                return pixels;
            KORVA_LOG(logger, Error, "KorvaInternals", "Failed to capture Korva image");
        } catch (const DeviceException& failure) {
            KORVA_LOG_AT_LINE(logger, Error, "KorvaInternals", 101,
                              "Communicator error: " << Platform::utf8FromWide(failure.getMessage()));
        } catch (...) {
            KORVA_LOG_AT_LINE(logger, Error, "KorvaInternals", 107, "Unknown error during image capture");
        }
    } catch (...) {
        // A line that cannot be logged, as when memory is short, changes nothing.
    }
    reportFailure(NetworkHealth::captureFailed);
    return nullptr;
}

void* KorvaInternals::takePicture() {
    constexpr bool forceMode1 = false;
    constexpr bool png = false;
    constexpr bool monochrome = false;
    constexpr bool delayBeforeTake = false;
    Korva::OwnedImage picture(Korva::capture(camera_->getCommunicator(), forceMode1, png, monochrome,
                                             exposureUnits_, delayBeforeTake));
    if (picture == nullptr || !keepPixels(*picture))
        return nullptr;
    // By hand: what the host throws here is a failed capture, and a smart pointer's own release must not
    // throw.
    ImagingFactory::getInstance()->releaseImage(picture.release());
    report(NetworkHealth::pictureCaptured);
    return pixels_.get();
}

bool KorvaInternals::keepPixels(Image& picture) {
    const Point<int, 2> resolution = camera_->getResolution();
    const bool isSize = resolution.x() >= 0 && resolution.y() >= 0;
    const std::uint64_t wanted =
        isSize ? static_cast<std::uint64_t>(resolution.x()) * static_cast<std::uint64_t>(resolution.y()) : 0;
    const std::uint64_t held = std::uint64_t{picture.getWidth()} * picture.getHeight();
    if (Point<int, 2>(picture.getWidth(), picture.getHeight()) != resolution) {
        KORVA_LOG(logger, Warn, "KorvaInternals",
                  "Korva picture has the size " << picture.getWidth() << " x " << picture.getHeight()
                                                << ", the camera's resolution is " << resolution.x() << " x "
                                                << resolution.y());
    }
    // No resolution, however absurd, asks for more than a picture that was decoded holds.
    if (!isSize || held == 0 || held < wanted)
        return false;
    // Deliberately of the first picture's size for ever: a camera's resolution does not change.
    if (pixels_ == nullptr)
        pixels_ = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(wanted));
    std::memcpy(pixels_.get(), picture.getRawImageData(), static_cast<std::size_t>(wanted));
    return true;
}

bool KorvaInternals::validateConnection() {
    try {
        try {
            if (probe())
                return true;
            KORVA_LOG_AT_LINE(logger, Error, "KorvaInternals", 138,
                              "validateConnection: parseIncomingMessage failed");
        } catch (const DeviceException& failure) {
            KORVA_LOG_AT_LINE(
                logger, Error, "KorvaInternals", 147,
                "validateConnection: Communicator error: " << Platform::utf8FromWide(failure.getMessage()));
        } catch (...) {
            KORVA_LOG_AT_LINE(logger, Error, "KorvaInternals", 153, "isAlive Unknown error during isAlive()");
        }
    } catch (...) {
        // As in getImaging1Image.
    }
    reportFailure(NetworkHealth::connectionCheckFailed);
    return false;
}

/// True if the camera answers with a message that can be read. What it says is deliberately not judged.
bool KorvaInternals::probe() {
    Communicator* const communicator = camera_->getCommunicator();
    if (communicator == nullptr)
        throw DeviceException(L"The camera has no communicator");
    const Connector connection(*communicator);
    std::vector<Korva::Binary::FullArg> args(1);
    args.front().header.type = static_cast<std::uint8_t>(Korva::Binary::ArgCode::Format);
    args.front().header.length = Korva::Binary::bigEndian32(1);
    // A request that was not sent shows as an answer that does not come.
    static_cast<void>(
        Korva::Binary::createAndSendMessage(Korva::Binary::Command::Camera, args, communicator));
    args.clear();
    Korva::Binary::Header response;
    return Korva::Binary::parseIncomingMessage(communicator, response, args);
}

void KorvaInternals::setNetworkHealthCallback(NetworkHealthCallback callback) {
    networkHealthCallback_ = std::make_shared<const NetworkHealthCallback>(std::move(callback));
}

void KorvaInternals::report(int code) const {
    // Held, as it may replace itself while it runs; not copied, as it may count.
    const std::shared_ptr<const NetworkHealthCallback> callback = networkHealthCallback_;
    if (callback != nullptr && *callback)
        (*callback)(NetworkHealth(code));
}

void KorvaInternals::reportFailure(int code) const noexcept {
    try {
        try {
            report(code);
        } catch (...) {
            KORVA_LOG(logger, Warn, "KorvaInternals",
                      "The network-health callback failed to take the status " << code);
        }
    } catch (...) {
        // As in getImaging1Image.
    }
}
