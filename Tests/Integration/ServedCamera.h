#pragma once
// A simulated camera on loopback, and what a capture of it should give.

#include "ExpectedPixels.h"

#include "Camera/CameraSettings.h"
#include "Network/CameraServer.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "NativeCameraKorva/KorvaHelper.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Integration {

/// What a camera tells, by whatever thread.
class Events {
public:
    Simulator::EventLog log() {
        return [this](const std::string& event) {
            const std::lock_guard lock(mutex_);
            events_.push_back(event);
        };
    }

    /// How many so far speak of `text`.
    std::size_t count(const std::string& text) {
        const std::lock_guard lock(mutex_);
        const auto speaks = [&text](const std::string& event) {
            return event.find(text) != std::string::npos;
        };
        return static_cast<std::size_t>(std::count_if(events_.begin(), events_.end(), speaks));
    }

private:
    std::mutex mutex_;
    std::vector<std::string> events_;
};

/// Serves from construction to stop() or destruction, at ports the system chose or `binaryPort`.
class ServedCamera {
public:
    explicit ServedCamera(const Simulator::CameraSettings& settings, std::uint16_t binaryPort = 0)
        : server_(settings, {"127.0.0.1", binaryPort, 0, 0, events_.log()}) {
        server_.start();
    }

    int port() const { return server_.binaryTcpPort(); }
    int textPort() const { return server_.textTcpPort(); }

    /// Stops the camera and returns how many of its events speak of `text`.
    std::size_t stopAndCount(const std::string& text) {
        server_.stop();
        return events_.count(text);
    }

private:
    Events events_;
    Simulator::CameraServer server_;
};

/// The host's transport, but no read waits longer than that: a camera that says nothing costs a test so long
/// and not 10 s.
class ImpatientCommunicator : public PosixEthernetCommunicator {
public:
    static constexpr unsigned int longestReadMs = 400;

    explicit ImpatientCommunicator(int port) : PosixEthernetCommunicator(L"127.0.0.1", port, -1) {}

    int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) override {
        return PosixEthernetCommunicator::readBytes(data, count, reserved,
                                                    std::min(timeoutMs, longestReadMs));
    }
};

struct ReleaseImage {
    void operator()(Image* image) const { ImagingFactory::getInstance()->releaseImage(image); }
};
using ImagePointer = std::unique_ptr<Image, ReleaseImage>;

/// The grey pixels of an image; empty for null.
inline Bytes pixelsOf(Image* image) {
    if (image == nullptr)
        return {};
    const auto* const pixels = static_cast<const unsigned char*>(image->getRawImageData());
    return {pixels, pixels + std::size_t{image->getWidth()} * image->getHeight()};
}

/// A served camera and a host's transport to it.
struct ConnectedCamera {
    explicit ConnectedCamera(const Simulator::CameraSettings& itsSettings) : settings(itsSettings) {}

    /// Without the pause behind it.
    ImagePointer capture(const CaptureKind& kind = {}, int exposureUnits = 15) {
        return ImagePointer(
            Korva::capture(&communicator, kind.forceMode1, kind.png, kind.monochrome, exposureUnits, false));
    }
    /// Whether a capture gives the camera's scene, to the pixel.
    bool givesItsScene(const CaptureKind& kind = {}, int exposureUnits = 15) {
        return pixelsOf(capture(kind, exposureUnits).get()) == expectedPixels(settings, kind, exposureUnits);
    }

    const Simulator::CameraSettings settings;
    std::optional<ServedCamera> camera{std::in_place, settings};
    const int port = camera->port();
    PosixEthernetCommunicator communicator{L"127.0.0.1", port, -1};
};

} // namespace Integration
