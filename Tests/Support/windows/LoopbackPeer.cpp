#include "Support/LoopbackPeer.h"

#include "Platform/Winsock.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <utility>

namespace TestSupport {

namespace {

constexpr int none = -1;

SOCKET socketOf(int descriptor) {
    return static_cast<SOCKET>(descriptor);
}

/// The system's handles are small numbers, whatever their type.
int newSocket(int type) {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
    return static_cast<int>(socket(AF_INET, type, 0));
}

} // namespace

int bindToFreePort(int descriptor, const char* address) {
    const DWORD longest = 5000;
    setsockopt(socketOf(descriptor), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&longest),
               sizeof longest);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    inet_pton(AF_INET, address, &place.sin_addr);
    int length = sizeof place;
    auto* const any = reinterpret_cast<sockaddr*>(&place);
    if (bind(socketOf(descriptor), any, length) != 0 || getsockname(socketOf(descriptor), any, &length) != 0)
        throw std::runtime_error(std::string("no port at ") + address);
    return ntohs(place.sin_port);
}

void PeerConnection::drip(std::string_view piece, int times, std::chrono::milliseconds pause) {
    for (int drop = 0; drop < times; ++drop) {
        if (::send(socketOf(descriptor_), piece.data(), static_cast<int>(piece.size()), 0) < 0)
            return;
        std::this_thread::sleep_for(pause);
    }
}

std::string PeerConnection::receive(std::size_t count) {
    std::string bytes;
    while (bytes.size() < count) {
        std::string piece(count - bytes.size(), '\0');
        const int received = recv(socketOf(descriptor_), piece.data(), static_cast<int>(piece.size()), 0);
        EXPECT_GE(received, 0) << "the peer waited too long";
        if (received <= 0)
            break;
        bytes.append(piece, 0, static_cast<std::size_t>(received));
    }
    return bytes;
}

void PeerConnection::close() {
    if (descriptor_ != none)
        closesocket(socketOf(std::exchange(descriptor_, none)));
}

LoopbackPeer::LoopbackPeer(Script script)
    : listener_(newSocket(SOCK_STREAM)), port_(bindToFreePort(listener_)) {
    if (listen(socketOf(listener_), 1) != 0)
        throw std::runtime_error("the test's peer cannot listen");
    thread_ = std::thread([this, play = std::move(script)] {
        const SOCKET accepted = accept(socketOf(listener_), nullptr, nullptr);
        if (accepted != INVALID_SOCKET)
            play(connection_.emplace(static_cast<int>(accepted)));
    });
}

LoopbackPeer::~LoopbackPeer() {
    // Ends an accept that nobody came to.
    closesocket(socketOf(listener_));
    thread_.join();
}

DatagramPeer::DatagramPeer(const char* address)
    : descriptor_(newSocket(SOCK_DGRAM)), port_(bindToFreePort(descriptor_, address)) {}

DatagramPeer::~DatagramPeer() {
    closesocket(socketOf(descriptor_));
}

std::string DatagramPeer::receive() {
    std::string text(65536, '\0');
    sockaddr_in sender{};
    int length = sizeof sender;
    const int received = ::recvfrom(socketOf(descriptor_), text.data(), static_cast<int>(text.size()), 0,
                                    reinterpret_cast<sockaddr*>(&sender), &length);
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
    if (sendto(socketOf(descriptor_), text.data(), static_cast<int>(text.size()), 0,
               reinterpret_cast<const sockaddr*>(&to), sizeof to) < 0)
        throw std::runtime_error("cannot answer");
}

// There is nothing that could interrupt a call: what is about that is left out.
SignalStorm::SignalStorm() = default;
SignalStorm::~SignalStorm() = default;

int SignalStorm::handled() const {
    return 0;
}

void SignalStorm::awaitMore(int) const {}

} // namespace TestSupport
