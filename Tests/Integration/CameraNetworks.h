#pragma once
// Where the cameras of a run are: on networks of the run's own, an adapter each, or on loopback.

#include "Network/CameraServer.h"
#include "Support/NetworkNamespace.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Integration {

/// Its operations may be called on any thread that came into being after it; such a thread is in the host's
/// network. What fails throws std::runtime_error.
class CameraNetworks {
public:
    /// `areOwn`: camera I has the address 10.77.(I+1).11 and a machine of its own on the other end of the
    /// host's adapter net(I+1). Else it is on loopback, where nobody hears a broadcast.
    CameraNetworks(std::size_t cameras, bool areOwn);

    bool areOwn() const { return host_ != nullptr; }
    const std::string& addressOf(std::size_t camera) const { return addresses_[camera]; }

    /// Serves at the camera's address and the ports of a real camera, until destruction. `log` outlives it.
    std::unique_ptr<Simulator::CameraServer> serve(std::size_t camera,
                                                   const Simulator::CameraSettings& settings,
                                                   const Simulator::EventLog& log) const;

    /// Runs `work` in the camera's network, where the sockets stay that it makes.
    void within(std::size_t camera, const std::function<void()>& work) const;

    /// Takes the host's adapter down and up. On own networks only.
    void pullCable(std::size_t camera) const;
    void mendCable(std::size_t camera) const;

private:
    void wire(std::size_t camera) const;

    std::vector<std::string> addresses_;
    std::vector<std::unique_ptr<TestSupport::NetworkNamespace>> machines_;
    std::unique_ptr<TestSupport::NetworkNamespace> host_;
};

} // namespace Integration
