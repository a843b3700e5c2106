#pragma once
// A network connection that is not the host's TCP client.

#include "Communicator/Connector.h"
#include "Communicator/EthernetCommunicator.h"
#include "Support/ScriptedCommunicator.h"

#include <memory>
#include <string>

namespace IdentificationTests {

/// A communicator of another make to the camera, with what it was asked.
struct OtherEthernet final : EthernetCommunicator {
    TestSupport::ScriptedCommunicator script;
    std::unique_ptr<Connector> hold;

    /// The answer to the next request.
    OtherEthernet& say(const std::string& reply) {
        script.afterNextWrite().deliver({reply.begin(), reply.end()});
        return *this;
    }

    std::wstring getAddress() const override { return L"10.0.0.5"; }
    int getPort() const override { return 32768; }
    void writeBytes(const void* data, unsigned int count, bool discardUnread, int reserved) override {
        script.writeBytes(data, count, discardUnread, reserved);
    }
    int readBytes(void* data, unsigned int count, int reserved, unsigned int timeoutMs) override {
        return script.readBytes(data, count, reserved, timeoutMs);
    }
    bool isConnected() const override { return hold != nullptr; }
    void connect() override { hold = std::make_unique<Connector>(script); }
    void disconnect() noexcept override { hold.reset(); }
};

} // namespace IdentificationTests
