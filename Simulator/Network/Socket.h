#pragma once
// A socket that closes itself, and the few ways in which the simulator opens one.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace Simulator {

/// A port that is taken, an address that this machine does not have: the message names both and the reason.
class ServerError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Socket {
public:
    Socket() = default;
    explicit Socket(int descriptor) : descriptor_(descriptor) {}
    Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket();

    int descriptor() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1;
};

/// A non-blocking listening socket; port 0 lets the system choose. `address` is dotted IPv4.
/// Throws ServerError.
Socket listenTcp(const std::string& address, std::uint16_t port);

/// Whether other sockets may be bound to the same address and port; then each gets every broadcast.
enum class Sharing { alone, shared };

/// A non-blocking bound UDP socket; port 0 lets the system choose. `address` is dotted IPv4.
/// Throws ServerError.
Socket bindUdp(const std::string& address, std::uint16_t port, Sharing sharing = Sharing::alone);

/// Sets a socket option of the kind on and off.
void switchOn(int descriptor, int level, int option);

/// The port that a socket is bound to; 0 for a closed socket.
std::uint16_t portOf(const Socket& socket);

/// A client waits, and there is no descriptor or memory left for its connection.
class NothingLeft : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The next waiting client, non-blocking and without delay of small messages, and its "ADDRESS:PORT".
/// A closed socket if none waits. Throws NothingLeft, which leaves the client waiting.
std::pair<Socket, std::string> acceptClient(const Socket& listener);

/// Both ends of a pipe, non-blocking: the reading end first. Throws ServerError.
std::pair<Socket, Socket> makePipe();

} // namespace Simulator
