#include "Support/DatagramPeer.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr int longestWaitMs = 5000;

sockaddr_in endpoint(const std::string& address, int port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<std::uint16_t>(port));
    if (inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1)
        throw std::runtime_error("no address: " + address);
    return place;
}

} // namespace

DatagramPeer::DatagramPeer(const std::string& address, int port)
    : descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in place = endpoint(address, port);
    socklen_t length = sizeof place;
    auto* const generic = reinterpret_cast<sockaddr*>(&place);
    if (bind(descriptor_, generic, length) != 0 || getsockname(descriptor_, generic, &length) != 0) {
        close(descriptor_);
        throw std::runtime_error("cannot bind to " + address);
    }
    port_ = ntohs(place.sin_port);
}

DatagramPeer::~DatagramPeer() {
    close(descriptor_);
}

std::optional<Datagram> DatagramPeer::receive() const {
    pollfd waiting{.fd = descriptor_, .events = POLLIN, .revents = 0};
    if (poll(&waiting, 1, longestWaitMs) != 1)
        return std::nullopt;
    std::array<char, 65536> buffer{};
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    const ssize_t received =
        recvfrom(descriptor_, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&sender), &length);
    if (received < 0)
        return std::nullopt;
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &sender.sin_addr, text.data(), text.size());
    return Datagram{std::string(buffer.data(), static_cast<std::size_t>(received)), text.data(),
                    ntohs(sender.sin_port)};
}

void DatagramPeer::answer(const Datagram& received, std::string_view text) const {
    const sockaddr_in place = endpoint(received.address, received.port);
    const ssize_t sent = sendto(descriptor_, text.data(), text.size(), 0,
                                reinterpret_cast<const sockaddr*>(&place), sizeof place);
    if (sent != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("cannot answer " + received.address);
}

} // namespace TestSupport
