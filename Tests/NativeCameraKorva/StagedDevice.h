#pragma once
// A camera device and the camera that it talks to, both in the world.

#include "DeviceFixture.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "World/Stage.h"

#include <memory>
#include <string>

namespace DeviceFixture {

/// A device of the camera 10.0.0.`host`, which has no answer left from another device's time. Made and gone
/// within a Stage's life.
struct StagedDevice {
    explicit StagedDevice(int width = 4, int height = 3, int host = 5)
        : camera(World::Network::current().at("10.0.0." + std::to_string(host), 32769)),
          device(std::make_unique<KorvaCamera>(communicatorOf(host), describedAs(width, height))) {
        camera.forget();
    }

    static PosixEthernetCommunicator* communicatorOf(int host) {
        return new PosixEthernetCommunicator(L"10.0.0." + std::to_wstring(host), 32769, -1);
    }

    World::Peer& camera;
    std::unique_ptr<KorvaCamera> device;
};

} // namespace DeviceFixture
