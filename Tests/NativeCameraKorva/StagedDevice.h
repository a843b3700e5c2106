#pragma once
// A camera device and the camera that it talks to, both in the world.

#include "DeviceFixture.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "PluginLog.h"
#include "World/Stage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace DeviceFixture {

/// A device of the camera 10.0.0.5, which has no answer left from another device's time, and what it
/// reported. Made and gone within a Stage's life.
struct StagedDevice {
    explicit StagedDevice(int width = 4, int height = 3)
        : device(std::make_unique<KorvaCamera>(communicatorOf(5), describedAs(width, height))) {
        camera.forget();
        device->setNetworkHealthCallback(into(reports));
    }

    static PosixEthernetCommunicator* communicatorOf(int host) {
        return new PosixEthernetCommunicator(L"10.0.0." + std::to_wstring(host), 32769, -1);
    }
    ImagingInterface& imaging() {
        return dynamic_cast<ImagingInterface&>(*device->getInterface(ImagingInterface::interfaceTypeName));
    }
    /// The pixels that the imaging interface gives.
    const std::uint8_t* capture() { return static_cast<const std::uint8_t*>(imaging().getImage()); }

    World::Peer& camera = World::Network::current().at("10.0.0.5", 32769);
    Codes reports;
    std::unique_ptr<KorvaCamera> device;
};

struct StagedTest : ::testing::Test {
    World::Stage world;
    PluginLogs::PluginLog log{"Plenar.KorvaCamera.KorvaInternals", "KorvaInternals"};
    StagedDevice staged;
};

} // namespace DeviceFixture
