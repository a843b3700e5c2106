#pragma once
// The host's client in the world's time, and whoever it talks to.

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Support/Thrown.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Tests {

inline constexpr unsigned int patientMs = 5000;

struct EthernetClient : testing::Test {
    World::Stage world;
    World::Peer& peer = world.at("10.0.0.5", 80);
    PosixEthernetCommunicator client{L"10.0.0.5", 80, -1};

    /// What the connection gives for one read.
    std::string read(unsigned int count, unsigned int timeoutMs = patientMs) {
        std::string text(count, '?');
        const int received = client.readBytes(text.data(), count, 1, timeoutMs);
        text.resize(static_cast<std::size_t>(received));
        return text;
    }

    void write(const std::string& text, bool discardUnread) {
        client.writeBytes(text.data(), static_cast<unsigned int>(text.size()), discardUnread, 1);
    }
};

/// Sends the text in one piece.
inline Simulator::Action text(std::string_view bytes) {
    return World::sending({bytes.begin(), bytes.end()});
}

/// The message of the DeviceException that `action` throws; empty if it throws none.
template <class Action>
std::string messageOf(const Action& action) {
    return TestSupport::thrownBy<DeviceException>(action);
}

/// The message of a connect that fails.
inline std::string messageOfConnect(Communicator& communicator) {
    return messageOf([&] { const Connector hold(communicator); });
}

} // namespace Tests
