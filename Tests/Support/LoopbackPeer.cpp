#include "Support/LoopbackPeer.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pthread.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono_literals;

namespace TestSupport {
namespace {

std::atomic<int> signalsHandled{0};

extern "C" void countSignal(int) {
    ++signalsHandled;
}

void require(bool isDone, const char* what) {
    if (!isDone)
        throw std::runtime_error(std::string("the test's peer has no ") + what);
}

int openSocket(int type = SOCK_STREAM) {
    const int descriptor = socket(AF_INET, type | SOCK_CLOEXEC, 0);
    require(descriptor >= 0, "socket");
    return descriptor;
}

sockaddr_in placeOf(const std::string& address, int port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<std::uint16_t>(port));
    require(inet_pton(AF_INET, address.c_str(), &place.sin_addr) == 1, "address");
    return place;
}

/// Binds there, to a free port where none is named, and returns it.
int bindTo(const PeerConnection& own, const std::string& address = "127.0.0.1", int port = 0) {
    sockaddr_in place = placeOf(address, port);
    socklen_t length = sizeof place;
    auto* const generic = reinterpret_cast<sockaddr*>(&place);
    require(bind(own.descriptor(), generic, length) == 0, "port");
    require(getsockname(own.descriptor(), generic, &length) == 0, "port");
    return ntohs(place.sin_port);
}

} // namespace

PeerConnection::PeerConnection(int descriptor) : descriptor_(descriptor) {
    const timeval longestWait{5, 0};
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
        setsockopt(descriptor_, SOL_SOCKET, direction, &longestWait, sizeof longestWait);
}

void PeerConnection::send(std::string_view bytes) {
    const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    EXPECT_EQ(sent, static_cast<ssize_t>(bytes.size())) << "the peer could not send";
}

void PeerConnection::drip(std::string_view piece, int times, std::chrono::milliseconds pause) {
    for (int drop = 0; drop < times; ++drop) {
        if (::send(descriptor_, piece.data(), piece.size(), MSG_NOSIGNAL) < 0)
            return;
        std::this_thread::sleep_for(pause); // a quiet line is what is asked for
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

void PeerConnection::reset() {
    const linger abort{1, 0};
    setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close();
}

LoopbackPeer::LoopbackPeer(std::vector<Script> scripts) : listener_(openSocket()), port_(bindTo(listener_)) {
    require(listen(listener_.descriptor(), 8) == 0, "queue");
    thread_ = std::jthread([this, scripts = std::move(scripts)] {
        for (const Script& script : scripts) {
            const int descriptor = accept(listener_.descriptor(), nullptr, nullptr);
            if (descriptor < 0)
                return;
            script(connections_.emplace_back(descriptor));
        }
    });
}

LoopbackPeer::~LoopbackPeer() {
    // Wakes an accept that nobody came to.
    shutdown(listener_.descriptor(), SHUT_RDWR);
}

FullBacklog::FullBacklog() : port_(bindTo(sockets_.emplace_back(openSocket()))) {
    require(listen(sockets_.front().descriptor(), 0) == 0, "queue");
    const sockaddr_in place = placeOf("127.0.0.1", port_);
    constexpr std::size_t clients = 4;
    while (sockets_.size() <= clients) {
        const int client = sockets_.emplace_back(openSocket(SOCK_STREAM | SOCK_NONBLOCK)).descriptor();
        const int result = connect(client, reinterpret_cast<const sockaddr*>(&place), sizeof place);
        require(result == 0 || errno == EINPROGRESS, "full queue");
    }
}

DatagramPeer::DatagramPeer(const std::string& address, int port)
    : socket_(openSocket(SOCK_DGRAM)), port_(bindTo(socket_, address, port)) {}

std::optional<Datagram> DatagramPeer::receive() const {
    std::array<char, 65536> buffer{};
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    const ssize_t received = recvfrom(socket_.descriptor(), buffer.data(), buffer.size(), 0,
                                      reinterpret_cast<sockaddr*>(&sender), &length);
    if (received < 0)
        return std::nullopt;
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &sender.sin_addr, text.data(), text.size());
    return Datagram{std::string(buffer.data(), static_cast<std::size_t>(received)), text.data(),
                    ntohs(sender.sin_port)};
}

void DatagramPeer::answer(const Datagram& received, std::string_view text) const {
    const sockaddr_in place = placeOf(received.address, received.port);
    const ssize_t sent = sendto(socket_.descriptor(), text.data(), text.size(), 0,
                                reinterpret_cast<const sockaddr*>(&place), sizeof place);
    require(sent == static_cast<ssize_t>(text.size()), "way to answer");
}

int refusingPort() {
    return bindTo(PeerConnection(openSocket()));
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
