#pragma once
// The host's client in the world's time, and whoever it talks to.

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Support/Thrown.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace Tests {

/// Sends the text in one piece.
inline Simulator::Action text(std::string_view bytes) {
    return World::sending({bytes.begin(), bytes.end()});
}

struct EthernetClient : testing::Test {
    World::Stage world;
    World::Peer& peer = world.at("10.0.0.5", 80);
    PosixEthernetCommunicator client{L"10.0.0.5", 80, -1};

    /// What the connection gives for one read.
    std::string read(unsigned int count, unsigned int timeoutMs = 5000) {
        std::string text(count, '?');
        const int received = client.readBytes(text.data(), count, 1, timeoutMs);
        text.resize(static_cast<std::size_t>(received));
        return text;
    }
    void write(const std::string& text, bool discardUnread) {
        client.writeBytes(text.data(), static_cast<unsigned int>(text.size()), discardUnread, 1);
    }

    /// How an action fails, behind the device's name; empty if it does not.
    static std::string failureOf(const std::function<void()>& action) {
        const std::string message = TestSupport::thrownBy<DeviceException>(action);
        const std::string device = "10.0.0.5:80: ";
        return message.starts_with(device) ? message.substr(device.size()) : message;
    }
    static std::string failureOfConnect(Communicator& communicator) {
        return failureOf([&] { const Connector hold(communicator); });
    }
    std::string failureOfRead() {
        return failureOf([this] { read(6); });
    }
    std::string failureOfWrite(bool discardUnread, std::size_t count = 1) {
        return failureOf([&] { write(std::string(count, '?'), discardUnread); });
    }

    /// The peer takes no more than that.
    void giveRoomFor(std::size_t bytes) {
        world.network.serve(
            "10.0.0.5", 80, [this] { return peer.accept(); }, bytes);
    }
};

} // namespace Tests
