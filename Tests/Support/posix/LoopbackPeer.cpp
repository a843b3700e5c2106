#include "Support/LoopbackPeer.h"

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pthread.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace TestSupport {

namespace {

std::atomic<int> signalsHandled{0};

extern "C" void countSignal(int) {
    ++signalsHandled;
}

} // namespace

int bindToFreePort(int descriptor, const char* address) {
    const timeval longest{.tv_sec = 5, .tv_usec = 0};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = inet_addr(address);
    socklen_t length = sizeof place;
    auto* const any = reinterpret_cast<sockaddr*>(&place);
    if (bind(descriptor, any, length) != 0 || getsockname(descriptor, any, &length) != 0)
        throw std::runtime_error(std::string("no port at ") + address);
    return ntohs(place.sin_port);
}

void PeerConnection::drip(std::string_view piece, int times, std::chrono::milliseconds pause) {
    for (int drop = 0; drop < times; ++drop) {
        if (::send(descriptor_, piece.data(), piece.size(), MSG_NOSIGNAL) < 0)
            return;
        std::this_thread::sleep_for(pause);
    }
}

std::string PeerConnection::receive(std::size_t count) {
    std::string bytes(count, '\0');
    const ssize_t received = recv(descriptor_, bytes.data(), count, MSG_WAITALL);
    EXPECT_GE(received, 0) << "the peer waited too long";
    bytes.resize(received < 0 ? 0 : static_cast<std::size_t>(received));
    return bytes;
}

void PeerConnection::close() {
    if (descriptor_ >= 0)
        ::close(std::exchange(descriptor_, -1));
}

LoopbackPeer::LoopbackPeer(Script script)
    : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), port_(bindToFreePort(listener_)) {
    if (listen(listener_, 1) != 0)
        throw std::runtime_error("the test's peer cannot listen");
    thread_ = std::thread([this, play = std::move(script)] {
        const int descriptor = accept(listener_, nullptr, nullptr);
        if (descriptor >= 0)
            play(connection_.emplace(descriptor));
    });
}

LoopbackPeer::~LoopbackPeer() {
    // Wakes an accept that nobody came to.
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

DatagramPeer::DatagramPeer(const char* address)
    : descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)),
      port_(bindToFreePort(descriptor_, address)) {}

DatagramPeer::~DatagramPeer() {
    close(descriptor_);
}

std::string DatagramPeer::receive() {
    std::string text(65536, '\0');
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    const ssize_t received =
        recvfrom(descriptor_, text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&sender), &length);
    if (received < 0)
        throw std::runtime_error("no datagram has come");
    senderAddress_ = sender.sin_addr.s_addr;
    senderPort_ = sender.sin_port;
    text.resize(static_cast<std::size_t>(received));
    return text;
}

void DatagramPeer::answer(std::string_view text) const {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = senderAddress_;
    to.sin_port = senderPort_;
    if (sendto(descriptor_, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to) <
        0)
        throw std::runtime_error("cannot answer");
}

SignalStorm::SignalStorm() {
    signalsHandled = 0;
    struct sigaction action {};
    action.sa_handler = countSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGUSR1, &action, nullptr);
    thread_ = std::jthread([target = pthread_self()](const std::stop_token& end) {
        while (!end.stop_requested()) {
            pthread_kill(target, SIGUSR1);
            std::this_thread::sleep_for(1ms);
        }
    });
}

SignalStorm::~SignalStorm() {
    thread_ = {};
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
