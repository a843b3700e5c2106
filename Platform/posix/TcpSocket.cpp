#include "Platform/TcpSocket.h"

#include "Resolver.h"
#include "SystemText.h"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using std::chrono::milliseconds;

namespace Platform {

namespace {

SocketResult failedWith(int error, std::size_t bytes = 0) {
    return {SocketStatus::failed, bytes, textOf(error)};
}

SocketResult timedOut(std::size_t bytes = 0) {
    return {SocketStatus::timedOut, bytes, textOf(ETIMEDOUT)};
}

bool wouldBlock(int error) {
    return error == EAGAIN || error == EWOULDBLOCK;
}

/// Waits for `events` until `deadline`: 1 if one came, 0 if none did, else -1 with errno.
int waitFor(int descriptor, short events, TcpSocket::Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - TcpSocket::Clock::now()).count();
        pollfd entry{descriptor, events, 0};
        // Waits longer than a piece go round the loop again.
        constexpr std::int64_t longestPiece = 60'000;
        const int result = poll(&entry, 1, static_cast<int>(std::clamp<std::int64_t>(left, 0, longestPiece)));
        if (result > 0 || (result < 0 && errno != EINTR))
            return result;
        if (result == 0 && left <= longestPiece)
            return 0;
    }
}

/// Connects within the time. 0 or the system's error.
int connectTo(int descriptor, const sockaddr_in& address, TcpSocket::Clock::time_point deadline) {
    const int result = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    if (result == 0)
        return 0;
    // An interrupted connect goes on in the background like one that would block.
    if (errno != EINPROGRESS && errno != EINTR)
        return errno;
    const int ready = waitFor(descriptor, POLLOUT, deadline);
    if (ready < 0)
        return errno;
    if (ready == 0)
        return ETIMEDOUT;
    int error = 0;
    socklen_t length = sizeof error;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) != 0)
        return errno;
    return error;
}

/// The system's own number; -1, which it knows as none, for no socket.
int descriptorOf(std::intptr_t handle) {
    return static_cast<int>(handle);
}

} // namespace

TcpSocket::~TcpSocket() {
    close();
}

void TcpSocket::close() noexcept {
    if (isOpen())
        ::close(descriptorOf(handle_));
    handle_ = -1;
}

SocketResult TcpSocket::open(const std::string& host, std::uint16_t port, milliseconds timeout) {
    close();
    const auto deadline = Clock::now() + timeout;
    const Resolution resolution = resolve(host, deadline);
    if (resolution.addresses.empty())
        return {resolution.timedOut ? SocketStatus::timedOut : SocketStatus::failed, 0, resolution.reason};

    int error = 0;
    for (sockaddr_in address : resolution.addresses) {
        const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
        if (descriptor < 0)
            return failedWith(errno);
        handle_ = descriptor;
        const int on = 1;
        setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
        address.sin_port = htons(port);
        error = connectTo(descriptor, address, deadline);
        if (error == 0)
            return {};
        close();
    }
    return error == ETIMEDOUT ? timedOut() : failedWith(error);
}

SocketResult TcpSocket::send(const void* data, std::size_t count, milliseconds stallTimeout) {
    const auto* const bytes = static_cast<const unsigned char*>(data);
    std::size_t sent = 0;
    while (sent < count) {
        const ssize_t result = ::send(descriptorOf(handle_), bytes + sent, count - sent, MSG_NOSIGNAL);
        if (result >= 0) {
            sent += static_cast<std::size_t>(result);
            continue;
        }
        if (errno == EINTR)
            continue;
        if (!wouldBlock(errno))
            return failedWith(errno, sent);
        const int ready = waitFor(descriptorOf(handle_), POLLOUT, Clock::now() + stallTimeout);
        if (ready < 0)
            return failedWith(errno, sent);
        if (ready == 0)
            return timedOut(sent);
    }
    return {SocketStatus::done, sent, {}};
}

SocketResult TcpSocket::receive(void* data, std::size_t count, Clock::time_point deadline) {
    for (;;) {
        // Tried before any wait: on a busy line every piece then costs one system call.
        const ssize_t result = recv(descriptorOf(handle_), data, count, 0);
        if (result > 0)
            return {SocketStatus::done, static_cast<std::size_t>(result), {}};
        if (result == 0)
            return {SocketStatus::closed, 0, "Connection closed by the peer"};
        if (errno == EINTR)
            continue;
        if (!wouldBlock(errno))
            return failedWith(errno);
        const int ready = waitFor(descriptorOf(handle_), POLLIN, deadline);
        if (ready < 0)
            return failedWith(errno);
        if (ready == 0)
            return timedOut();
    }
}

} // namespace Platform
