#pragma once
// A simulated camera on loopback, and what a capture of it should give.

#include "ExpectedPixels.h"

#include "Camera/CameraSettings.h"
#include "Network/CameraServer.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Integration {

/// Serves from construction to stop() or destruction, at ports the system chose or `binaryPort`.
class ServedCamera {
public:
    explicit ServedCamera(const Simulator::CameraSettings& settings, std::uint16_t binaryPort = 0);
    ~ServedCamera() { server_.stop(); }
    ServedCamera(const ServedCamera&) = delete;
    ServedCamera& operator=(const ServedCamera&) = delete;

    int port() const { return server_.binaryTcpPort(); }
    int textPort() const { return server_.textTcpPort(); }

    /// Stops the camera and returns how many of its events speak of `text`.
    std::size_t stopAndCount(const std::string& text);

private:
    std::mutex mutex_;
    std::vector<std::string> events_;
    Simulator::CameraServer server_;
};

/// The host's transport, but no read waits longer than `longestReadMs`: a camera that says nothing costs a
/// test that long and not 10 s.
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

/// Korva::capture without the pause.
ImagePointer captureFrom(Communicator& communicator, const CaptureKind& kind, int exposureUnits);

/// The grey pixels of an image; empty for null.
Bytes pixelsOf(Image* image);

/// A served camera and a host's transport to it.
struct ConnectedCamera {
    explicit ConnectedCamera(const Simulator::CameraSettings& itsSettings) : settings(itsSettings) {}

    ImagePointer capture(const CaptureKind& kind = {}, int exposureUnits = 15) {
        return captureFrom(communicator, kind, exposureUnits);
    }
    /// Whether a capture gives the camera's scene, to the pixel.
    bool givesItsScene(const CaptureKind& kind = {}, int exposureUnits = 15) {
        return pixelsOf(capture(kind, exposureUnits).get()) == expectedPixels(settings, kind, exposureUnits);
    }

    const Simulator::CameraSettings settings;
    ServedCamera camera{settings};
    PosixEthernetCommunicator communicator{L"127.0.0.1", camera.port(), -1};
};

} // namespace Integration
