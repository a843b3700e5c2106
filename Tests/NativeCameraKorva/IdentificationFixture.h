#pragma once
// A camera of the world's network, to be identified.

#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaIdentification.h"

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Platform/Text.h"
#include "PluginLog.h"
#include "Support/SamplePictures.h"
#include "World/Stage.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace IdentificationTests {

using namespace PluginLogs;
using World::answerCapture;
using World::Bytes;

inline constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaCapture";
inline constexpr char knownMac[] = "00-1a-2b-3c-4d-5e";

/// The message of the DeviceException that `call` throws; empty, and a failure, where it throws none.
inline std::string messageOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const DeviceException& exception) {
        return Platform::utf8FromWide(exception.getMessage());
    }
    ADD_FAILURE() << "no DeviceException";
    return {};
}

/// A grey 16-bit PNG file, bright throughout.
inline Bytes samplePng(std::uint16_t width, std::uint16_t height) {
    return TestSupport::pngFile(TestSupport::uniformSamples(width, height, 1, 0x1010));
}

/// A camera at 10.0.0.5, or at whatever address is asked. The logger stands at info.
struct Identification : ::testing::Test {
    World::Stage world;
    PluginLog log{loggerName, "KorvaHelper", log4cxx::Level::getInfo()};
    PosixEthernetCommunicator camera{L"10.0.0.5", 32768, -1};

    Identification() {
        text();
        binary();
    }
    ~Identification() override { EXPECT_FALSE(camera.isConnected()); }

    World::Peer& text() { return world.at("", 32768); }
    World::Peer& binary() { return world.at("", 32769); }

    /// The camera answers the three queries, each once.
    void answerQueries(const std::string& hardwareId = "XM61", const std::string& software = "3.2.15") {
        World::answerIdentification(text(), {hardwareId, software});
    }

    CameraInfo identify(const std::string& mac = knownMac) {
        return Korva::determineCameraInfo(&camera, mac);
    }
};

} // namespace IdentificationTests
