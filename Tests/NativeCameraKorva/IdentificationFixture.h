#pragma once
// A camera to be identified: scripted transport, network, platform and imaging.

#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaIdentification.h"

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/PictureFiles.h"
#include "Support/ScriptedHost.h"
#include "Support/ScriptedNetwork.h"
#include "Support/ScriptedPlatform.h"
#include "Support/ScriptedTransport.h"
#include "Support/WireMessages.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace IdentificationTests {

using TestSupport::answerText;
using TestSupport::LogText;
using TestSupport::NetworkScript;
using TestSupport::PlatformScript;
using TestSupport::ScriptedCommunicator;

inline constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaCapture";
inline constexpr char knownMac[] = "00-1a-2b-3c-4d-5e";

/// The message of the DeviceException that `call` throws; empty, and a failure, where it throws none.
inline std::wstring messageOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const DeviceException& exception) {
        return exception.getMessage();
    }
    ADD_FAILURE() << "no DeviceException";
    return {};
}

/// A grey 16-bit PNG file, bright throughout.
inline Support::Bytes samplePng(std::uint32_t width, std::uint32_t height) {
    Support::Bytes rows;
    for (std::uint32_t row = 0; row < height; ++row) {
        rows.push_back(0);
        rows.insert(rows.end(), std::size_t{2} * width, 0x10);
    }
    Support::Bytes file = Support::pngSignature();
    for (const Support::Bytes& chunk : {Support::pngHeader(width, height, 16, Support::PngColour::grey),
                                        Support::pngPixels(rows), Support::pngEnd()})
        file.insert(file.end(), chunk.begin(), chunk.end());
    return file;
}

/// The camera takes a picture and sends `file`.
inline void answerGrab(ScriptedCommunicator& camera, const Support::Bytes& file) {
    camera.afterNextWrite().deliver(TestSupport::wireMessage({{0, {}}}));
    camera.afterNextWrite().deliver(TestSupport::wireMessage({{0, {}}}));
    camera.afterNextWrite().deliver(TestSupport::wireMessage({{6, file}}));
}

/// The camera's answer to a request of a grab is that it cannot.
inline void answerError(ScriptedCommunicator& camera) {
    camera.afterNextWrite().deliver(TestSupport::wireMessage({{1, {0, 0, 0, 5}}}));
}

/// A camera at 10.0.0.5. The logger stands at info. Nothing may be left alive but the `camera`.
struct Identification : ::testing::Test {
    TestSupport::ScriptedHost host;
    TestSupport::ScriptedTransport transport;
    TestSupport::LogCapture log{loggerName, log4cxx::Level::getInfo()};
    PosixEthernetCommunicator camera{L"10.0.0.5", 32768, -1};

    Identification() {
        PlatformScript::current() = {};
        NetworkScript::current() = {};
        // ARP stands in the transport's log, in order.
        NetworkScript::current().onCall = [this](const std::string& call) {
            if (call.starts_with("SendARP"))
                transport.note(call);
        };
    }
    ~Identification() override {
        TestSupport::expectFrom(log, "KorvaHelper");
        EXPECT_EQ(transport.alive(), 1);
        EXPECT_FALSE(camera.isConnected());
        EXPECT_TRUE(host.imaging.alive.empty());
        NetworkScript::current() = {};
    }

    ScriptedCommunicator& text() { return transport.atPort(32768); }
    ScriptedCommunicator& binary() { return transport.atPort(32769); }

    /// The camera answers the three queries, each once.
    void answerQueries(const std::string& hardwareId = "XM61", const std::string& software = "3.2.15") {
        answerText(text(), "[Version --HW " + hardwareId + " --SW " + software + " --API 7]");
        answerText(text(), "[SerialNumber --Camera K-0042]");
        answerText(text(), "[--Settings --NetworkProtocol DHCP --NetMask 255.255.255.0 "
                           "--NetGateway 10.0.0.1]");
    }

    CameraInfo identify(const std::string& mac = knownMac) {
        return Korva::determineCameraInfo(&camera, mac);
    }
};

} // namespace IdentificationTests
