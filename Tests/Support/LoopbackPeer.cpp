#include "Support/LoopbackPeer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace TestSupport {

namespace {

constexpr int longestWaitMs = 5000;
constexpr int fullBacklogClients = 4;

std::atomic<int> signalsHandled{0};

extern "C" void countSignal(int) {
    ++signalsHandled;
}

sockaddr_in loopbackAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

int openSocket(int flags) {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
    if (descriptor < 0)
        throw std::runtime_error("no socket for the test's peer");
    return descriptor;
}

/// Binds to a free port of loopback and returns it.
int bindToFreePort(int descriptor) {
    sockaddr_in address = loopbackAddress(0);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(descriptor, generic, length) != 0 || getsockname(descriptor, generic, &length) != 0)
        throw std::runtime_error("no port for the test's peer");
    return ntohs(address.sin_port);
}

bool waitForEvents(int descriptor, short events) {
    pollfd entry{descriptor, events, 0};
    int result = 0;
    do {
        result = poll(&entry, 1, longestWaitMs);
    } while (result < 0 && errno == EINTR);
    return result > 0;
}

} // namespace

PeerConnection::PeerConnection(int descriptor) : descriptor_(descriptor) {}

PeerConnection::~PeerConnection() {
    close();
}

bool PeerConnection::waitFor(short events) const {
    const bool ready = waitForEvents(descriptor_, events);
    EXPECT_TRUE(ready) << "the peer waited too long";
    return ready;
}

void PeerConnection::send(std::string_view bytes) {
    while (!bytes.empty() && waitFor(POLLOUT)) {
        const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno != EAGAIN) {
            ADD_FAILURE() << "the peer could not send";
            return;
        }
        bytes.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
}

void PeerConnection::keepQuiet(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration); // a quiet line is what is asked for
}

void PeerConnection::drip(std::string_view piece, int times, std::chrono::milliseconds pause) {
    for (int drop = 0; drop < times; ++drop) {
        if (::send(descriptor_, piece.data(), piece.size(), MSG_NOSIGNAL) < 0)
            return;
        keepQuiet(pause);
    }
}

bool PeerConnection::floodUntilAnswered(std::size_t most) {
    const std::string zeros(65536, '\0');
    std::size_t sent = 0;
    while (sent < most) {
        pollfd entry{descriptor_, POLLIN | POLLOUT, 0};
        if (poll(&entry, 1, longestWaitMs) <= 0 || (entry.revents & (POLLERR | POLLHUP)) != 0)
            return false;
        if ((entry.revents & POLLIN) != 0)
            return receive(1).size() == 1;
        const ssize_t result = ::send(descriptor_, zeros.data(), zeros.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        sent += result < 0 ? 0 : static_cast<std::size_t>(result);
    }
    return false;
}

std::string PeerConnection::receive(std::size_t count) {
    std::string bytes(count, '\0');
    std::size_t received = 0;
    while (received < count && waitFor(POLLIN)) {
        const ssize_t result = recv(descriptor_, bytes.data() + received, count - received, 0);
        if (result <= 0)
            break;
        received += static_cast<std::size_t>(result);
    }
    bytes.resize(received);
    return bytes;
}

void PeerConnection::close() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
    descriptor_ = -1;
}

void PeerConnection::reset() {
    const linger abort{1, 0};
    setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close();
}

LoopbackPeer::LoopbackPeer(std::vector<Script> scripts)
    : scripts_(std::move(scripts)), listener_(openSocket(0)), port_(bindToFreePort(listener_)) {
    if (listen(listener_, 8) != 0)
        throw std::runtime_error("the test's peer cannot listen");
    thread_ = std::thread([this] { run(); });
}

LoopbackPeer::LoopbackPeer(Script script) : LoopbackPeer(std::vector<Script>{std::move(script)}) {}

LoopbackPeer::~LoopbackPeer() {
    // Wakes an accept that nobody came to.
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

void LoopbackPeer::run() {
    for (const Script& script : scripts_) {
        const int descriptor = waitForEvents(listener_, POLLIN) ? accept(listener_, nullptr, nullptr) : -1;
        if (descriptor < 0)
            return;
        connections_.push_back(std::make_unique<PeerConnection>(descriptor));
        script(*connections_.back());
    }
}

FullBacklog::FullBacklog() : descriptors_{openSocket(0)}, port_(bindToFreePort(descriptors_.front())) {
    if (listen(descriptors_.front(), 0) != 0)
        throw std::runtime_error("the test's peer cannot listen");
    const sockaddr_in address = loopbackAddress(port_);
    for (int client = 0; client < fullBacklogClients; ++client) {
        descriptors_.push_back(openSocket(SOCK_NONBLOCK));
        if (connect(descriptors_.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
            errno != EINPROGRESS)
            throw std::runtime_error("the backlog could not be filled");
    }
}

FullBacklog::~FullBacklog() {
    for (const int descriptor : descriptors_)
        close(descriptor);
}

int refusingPort() {
    const int descriptor = openSocket(0);
    const int port = bindToFreePort(descriptor);
    close(descriptor);
    return port;
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

int socketConnectedTo(int port) {
    constexpr int mostDescriptors = 1024;
    for (int descriptor = 0; descriptor < mostDescriptors; ++descriptor) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == port)
            return descriptor;
    }
    return -1;
}

SignalStorm::SignalStorm() {
    signalsHandled = 0;
    struct sigaction action {};
    action.sa_handler = countSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGUSR1, &action, nullptr);
    thread_ = std::thread([this, target = pthread_self()] {
        while (!ends_) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(1ms);
        }
    });
}

SignalStorm::~SignalStorm() {
    ends_ = true;
    thread_.join();
    std::signal(SIGUSR1, SIG_DFL);
}

int SignalStorm::handled() const {
    return signalsHandled;
}

void SignalStorm::awaitMore(int count) const {
    const int wanted = handled() + count;
    const Stopwatch stopwatch;
    while (handled() < wanted && stopwatch.elapsed() < 5s)
        std::this_thread::sleep_for(1ms);
    EXPECT_GE(handled(), wanted) << "the signals did not come";
}

} // namespace TestSupport
