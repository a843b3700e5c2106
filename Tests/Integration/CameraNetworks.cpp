#include "CameraNetworks.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

using namespace std::chrono_literals;

namespace Integration {

namespace {

using TestSupport::NetworkNamespace;

std::string number(std::size_t camera) {
    return std::to_string(camera + 1);
}

/// Within loopback, and apart from those of other processes.
std::string loopbackAddress(std::size_t camera) {
    const auto process = static_cast<unsigned>(getpid());
    return "127." + std::to_string(129 + camera) + "." + std::to_string(process >> 8 & 255) + "." +
           std::to_string(process & 255);
}

/// Asks or tells one of the adapters of the calling thread's network. Without a program that does it: that
/// would hold what other threads have open a moment longer than they.
void control(ifreq& adapter, unsigned long operation) {
    const Simulator::Socket any(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (ioctl(any.descriptor(), operation, &adapter) != 0)
        throw std::system_error(errno, std::generic_category(), adapter.ifr_name);
}

/// The host's adapter to that camera, with its flags.
ifreq adapterTo(std::size_t camera) {
    ifreq adapter{};
    ("net" + number(camera)).copy(adapter.ifr_name, sizeof adapter.ifr_name - 1);
    control(adapter, SIOCGIFFLAGS);
    return adapter;
}

} // namespace

CameraNetworks::CameraNetworks(std::size_t cameras, bool areOwn) {
    for (std::size_t camera = 0; camera < cameras; ++camera) {
        addresses_.push_back(areOwn ? "10.77." + number(camera) + ".11" : loopbackAddress(camera));
        if (areOwn)
            machines_.push_back(std::make_unique<NetworkNamespace>());
    }
    if (!areOwn)
        return;
    host_ = std::make_unique<NetworkNamespace>();
    host_->run("ip link set lo up");
    for (std::size_t camera = 0; camera < cameras; ++camera)
        wire(camera);
}

void CameraNetworks::wire(std::size_t camera) const {
    const std::string adapter = "net" + number(camera);
    const std::string up = " broadcast + dev " + adapter + "; ip link set " + adapter + " up";
    host_->run("ip link add " + adapter + " type veth peer name " + adapter +
                   " netns {other}; ip addr add 10.77." + number(camera) + ".1/24" + up,
               machines_[camera].get());
    machines_[camera]->run("ip addr add " + addresses_[camera] + "/24" + up);
    host_->awaitLink(adapter);
}

std::unique_ptr<Simulator::CameraServer> CameraNetworks::serve(std::size_t camera,
                                                               const Simulator::CameraSettings& settings,
                                                               const Simulator::EventLog& log) const {
    std::unique_ptr<Simulator::CameraServer> server;
    Simulator::ServerOptions options;
    options.address = addresses_[camera];
    options.log = log;
    within(camera, [&] { server = std::make_unique<Simulator::CameraServer>(settings, options); });
    server->start();
    return server;
}

void CameraNetworks::within(std::size_t camera, const std::function<void()>& work) const {
    if (!areOwn())
        return work();
    const auto leave = [](const NetworkNamespace* host) { host->enter(); };
    const std::unique_ptr<const NetworkNamespace, decltype(leave)> visit(host_.get());
    machines_[camera]->enter();
    work();
}

void CameraNetworks::pullCable(std::size_t camera) const {
    ifreq adapter = adapterTo(camera);
    adapter.ifr_flags = static_cast<short>(adapter.ifr_flags & ~IFF_UP);
    control(adapter, SIOCSIFFLAGS);
}

void CameraNetworks::mendCable(std::size_t camera) const {
    ifreq adapter = adapterTo(camera);
    adapter.ifr_flags = static_cast<short>(adapter.ifr_flags | IFF_UP);
    control(adapter, SIOCSIFFLAGS);
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while ((adapterTo(camera).ifr_flags & IFF_RUNNING) == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("an adapter stays down");
        std::this_thread::sleep_for(1ms); // the kernel sets it going up to a second after, by itself
    }
}

} // namespace Integration
