#include "Network/Socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace Simulator {

namespace {

constexpr int waitingClients = 16;

[[noreturn]] void fail(const std::string& what) {
    throw ServerError(what + ": " + std::generic_category().message(errno));
}

bool prepare(int descriptor) {
    return fcntl(descriptor, F_SETFL, O_NONBLOCK) == 0 && fcntl(descriptor, F_SETFD, FD_CLOEXEC) == 0;
}

sockaddr_in endpoint(const std::string& address, std::uint16_t port, const std::string& what) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &result.sin_addr) != 1)
        throw ServerError(what + ": this is not an IPv4 address such as 127.0.0.1");
    return result;
}

Socket bound(int type, const std::string& address, std::uint16_t port, Sharing sharing,
             const std::string& what) {
    const sockaddr_in local = endpoint(address, port, what);
    Socket socket(::socket(AF_INET, type, 0));
    if (!socket.isOpen() || !prepare(socket.descriptor()))
        fail(what);
    if (sharing == Sharing::shared)
        switchOn(socket.descriptor(), SOL_SOCKET, SO_REUSEADDR);
    if (bind(socket.descriptor(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0)
        fail(what);
    return socket;
}

bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

std::string nameOf(const std::string& protocol, const std::string& address, std::uint16_t port) {
    return "Cannot serve " + protocol + " port " + std::to_string(port) + " of " + address;
}

} // namespace

void switchOn(int descriptor, int level, int option) {
    const int on = 1;
    setsockopt(descriptor, level, option, &on, sizeof on);
}

Socket::~Socket() {
    if (isOpen())
        close(descriptor_);
}

Socket listenTcp(const std::string& address, std::uint16_t port) {
    const std::string what = nameOf("TCP", address, port);
    // Of TCP, a port is shared only with connections that have just ended: it may be taken again at once.
    Socket socket = bound(SOCK_STREAM, address, port, Sharing::shared, what);
    if (listen(socket.descriptor(), waitingClients) != 0)
        fail(what);
    return socket;
}

Socket bindUdp(const std::string& address, std::uint16_t port, Sharing sharing) {
    return bound(SOCK_DGRAM, address, port, sharing, nameOf("UDP", address, port));
}

std::uint16_t portOf(const Socket& socket) {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    getsockname(socket.descriptor(), reinterpret_cast<sockaddr*>(&local), &size);
    return ntohs(local.sin_port);
}

std::pair<Socket, std::string> acceptClient(const Socket& listener) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    Socket client(accept(listener.descriptor(), reinterpret_cast<sockaddr*>(&peer), &size));
    if (!client.isOpen() && isShortage(errno))
        throw NothingLeft(std::generic_category().message(errno));
    if (!client.isOpen() || !prepare(client.descriptor()))
        return {};
    switchOn(client.descriptor(), IPPROTO_TCP, TCP_NODELAY);
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &peer.sin_addr, text.data(), text.size());
    return {std::move(client), std::string(text.data()) + ":" + std::to_string(ntohs(peer.sin_port))};
}

std::pair<Socket, Socket> makePipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        fail("Cannot make a pipe");
    std::pair<Socket, Socket> result{Socket(ends[0]), Socket(ends[1])};
    if (!prepare(ends[0]) || !prepare(ends[1]))
        fail("Cannot make a pipe");
    return result;
}

} // namespace Simulator
