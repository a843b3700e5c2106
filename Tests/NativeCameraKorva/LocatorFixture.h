#pragma once
// A search for cameras on the world's network.

#include "NativeCameraKorva/KorvaCameraLocator.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "PluginLog.h"
#include "World/Stage.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace LocatorTests {

using namespace PluginLogs;

inline constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaCameraLocator";
inline const std::string firstHardware("\x00\x1a\x2b\x3c\x4d\x5e", 6);
inline const std::string secondHardware("\x00\x1a\x2b\x3c\x4d\x5f", 6);

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
    PluginLog log{loggerName, "KorvaCameraLocator"};
    PluginLog identificationLog{"Plenar.KorvaCamera.KorvaCapture", "KorvaHelper"};
    RecordingObserver observer;
    KorvaCameraLocator locator;

    LocatorSearch() { beginAnew(); }

    void beginAnew() {
        World::reset();
        network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
    }

    void search() { locator.broadcastObserverSearch(&observer, 7); }

    /// A camera that answers the broadcast, ARP and its identification.
    void addCamera(const std::string& room, const std::string& ip,
                   const std::string& hardwareAddress = firstHardware) {
        network.datagrams.push_back(replyOf(room, ip));
        network.arp[ip].hardwareAddress = hardwareAddress;
        World::answerIdentification(world.at(ip, 32768), {.serial = "K-" + room});
    }

    /// One camera was reported, the one in that room.
    void expectFound(const std::wstring& room) const {
        ASSERT_EQ(observer.found.size(), 1u);
        EXPECT_EQ(observer.infoOf(0).getSerialNumber(), L"K-" + room);
    }
};

} // namespace LocatorTests
