#pragma once
// A search for cameras: scripted sockets, adapters, ARP and transport.

#include "NativeCameraKorva/KorvaCameraLocator.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/ScriptedNetwork.h"
#include "Support/ScriptedPlatform.h"
#include "Support/ScriptedTransport.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace LocatorTests {

using TestSupport::answerText;
using TestSupport::LogText;
using TestSupport::NetworkScript;
using TestSupport::PlatformScript;

/// Keeps what it is told.
struct RecordingObserver final : BroadcastWorkerObserver {
    std::vector<std::unique_ptr<DeviceTemplate>> found;
    std::vector<int> arguments;
    std::function<void()> onFound; ///< called when the template is kept; may throw

    void deviceFound(DeviceTemplate* deviceTemplate, int reserved) override {
        found.emplace_back(deviceTemplate);
        arguments.push_back(reserved);
        if (onFound)
            onFound();
    }

    CameraInfo infoOf(std::size_t at) const {
        return dynamic_cast<const NativeCameraTemplate&>(*found.at(at)).getCameraInfo();
    }
};

inline std::string replyOf(const std::string& room, const std::string& ip) {
    return "[Korva --Room " + room + " --IP " + ip + "]";
}

/// One adapter, 10.0.0.1 of 10.0.0.0/24, and no camera yet. The search's logger stands at all levels.
struct LocatorSearch : ::testing::Test {
    TestSupport::ScriptedTransport transport;
    TestSupport::LogCapture log{"Plenar.KorvaCamera.KorvaCameraLocator"};
    TestSupport::LogCapture identificationLog{"Plenar.KorvaCamera.KorvaCapture"};
    NetworkScript& network = NetworkScript::current();
    RecordingObserver observer;
    KorvaCameraLocator locator;

    LocatorSearch() {
        PlatformScript::current() = {};
        network = {};
        network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
    }
    ~LocatorSearch() override {
        TestSupport::expectFrom(log, "KorvaCameraLocator");
        TestSupport::expectFrom(identificationLog, "KorvaHelper");
        EXPECT_TRUE(network.openSockets.empty());
        EXPECT_EQ(transport.alive(), 0);
        network = {};
    }

    void search() { locator.broadcastObserverSearch(&observer, 7); }

    /// A camera that answers the broadcast, ARP and its identification.
    void addCamera(const std::string& room, const std::string& ip,
                   const std::string& hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5e", 6)) {
        network.datagrams.push_back(replyOf(room, ip));
        network.arp[ip].hardwareAddress = hardwareAddress;
        TestSupport::ScriptedCommunicator& camera = transport.at(std::wstring(ip.begin(), ip.end()), 32768);
        answerText(camera, "[Version --HW XM61 --SW 3.2.15 --API 7]");
        answerText(camera, "[SerialNumber --Camera K-" + room + "]");
        answerText(camera, "[--Settings --NetworkProtocol DHCP --NetMask 255.255.255.0 "
                           "--NetGateway 10.0.0.254]");
    }

    /// Identifying the camera there ends with an exception that is no DeviceException.
    void breakConnectionTo(const std::string& ip) {
        transport.onCall = [ip](const std::string& call) {
            if (call == "connect " + ip + ":32768")
                throw std::runtime_error("unexpected");
        };
    }

    /// The log lines that begin with `text`.
    std::vector<LogText> linesOf(const std::string& text) const {
        std::vector<LogText> found;
        for (const LogText& line : log.texts())
            if (line.message.starts_with(text))
                found.push_back(line);
        return found;
    }
};

} // namespace LocatorTests
