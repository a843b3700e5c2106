#pragma once
// A search for cameras on the world's network.

#include "NativeCameraKorva/KorvaCameraLocator.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace LocatorTests {

using TestSupport::LogText;

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
    World::Stage world;
    World::Network& network = world.network;
    World::Calls& calls = world.calls;
    TestSupport::LogCapture log{"Plenar.KorvaCamera.KorvaCameraLocator"};
    TestSupport::LogCapture identificationLog{"Plenar.KorvaCamera.KorvaCapture"};
    RecordingObserver observer;
    KorvaCameraLocator locator;

    LocatorSearch() { beginAnew(); }
    ~LocatorSearch() override {
        TestSupport::expectFrom(log, "KorvaCameraLocator");
        TestSupport::expectFrom(identificationLog, "KorvaHelper");
    }

    void beginAnew() {
        World::reset();
        network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
    }

    void search() { locator.broadcastObserverSearch(&observer, 7); }

    /// A camera that answers the broadcast, ARP and its identification.
    void addCamera(const std::string& room, const std::string& ip,
                   const std::string& hardwareAddress = std::string("\x00\x1a\x2b\x3c\x4d\x5e", 6)) {
        network.datagrams.push_back(replyOf(room, ip));
        network.arp[ip].hardwareAddress = hardwareAddress;
        World::answerIdentification(world.at(ip, 32768), {.serial = "K-" + room});
    }

    /// Identifying the camera there ends with an exception that is no DeviceException.
    void breakConnectionTo(const std::string& ip) {
        calls.throwAlways("connect " + ip + ":32768", std::runtime_error("unexpected"));
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
