#include "CameraNetworks.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <optional>
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

/// In a camera's network until it ends, then in the host's again.
class Visit {
public:
    Visit(const NetworkNamespace& machine, const NetworkNamespace& host) : host_(host) { machine.enter(); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    ~Visit() { host_.enter(); }

private:
    const NetworkNamespace& host_;
};

std::string adapterOf(std::size_t camera) {
    return "net" + number(camera);
}

/// One of the calling thread's network.
class Adapter {
public:
    explicit Adapter(const std::string& name) : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        name.copy(request_.ifr_name, sizeof request_.ifr_name - 1);
    }

    bool isRunning() { return (flags() & IFF_RUNNING) != 0; }

    void setUp(bool up) {
        const int others = flags() & ~IFF_UP;
        request_.ifr_flags = static_cast<short>(up ? others | IFF_UP : others);
        require(SIOCSIFFLAGS);
    }

private:
    int flags() {
        require(SIOCGIFFLAGS);
        return request_.ifr_flags;
    }

    void require(unsigned long operation) {
        if (ioctl(socket_.descriptor(), operation, &request_) != 0)
            throw std::system_error(errno, std::generic_category(), request_.ifr_name);
    }

    Simulator::Socket socket_;
    ifreq request_{};
};

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
    const std::string adapter = adapterOf(camera);
    host_->run("ip link add " + adapter + " type veth peer name " + adapter +
                   " netns {other}; ip addr add 10.77." + number(camera) + ".1/24 broadcast + dev " +
                   adapter + "; ip link set " + adapter + " up",
               machines_[camera].get());
    machines_[camera]->run("ip addr add " + addresses_[camera] + "/24 broadcast + dev " + adapter +
                           "; ip link set " + adapter + " up");
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
    std::optional<Visit> visit;
    if (areOwn())
        visit.emplace(*machines_[camera], *host_);
    work();
}

// Without a program that does it: that would hold what other threads have open a moment longer than they.

void CameraNetworks::pullCable(std::size_t camera) const {
    Adapter(adapterOf(camera)).setUp(false);
}

void CameraNetworks::mendCable(std::size_t camera) const {
    Adapter adapter(adapterOf(camera));
    adapter.setUp(true);
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!adapter.isRunning()) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("an adapter stays down");
        std::this_thread::sleep_for(1ms); // the kernel sets it going up to a second after, by itself
    }
}

} // namespace Integration
