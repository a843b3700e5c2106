#include "Platform/TcpSocket.h"

#include "Platform/NetworkView.h"
#include "Sockets.h"

#include <algorithm>
#include <limits>

using std::chrono::milliseconds;

namespace Platform {

namespace {

SocketResult failedWith(DWORD error, std::size_t bytes = 0) {
    return {SocketStatus::failed, bytes, textOf(error)};
}

SocketResult timedOut(std::size_t bytes = 0) {
    return {SocketStatus::timedOut, bytes, textOf(WSAETIMEDOUT)};
}

int lengthOf(std::size_t count) {
    return static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
}

/// Connects within the time. 0 or the system's error.
DWORD connectTo(SOCKET socket, const sockaddr_in& address, TcpSocket::Clock::time_point deadline) {
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return 0;
    if (lastSocketError() != WSAEWOULDBLOCK)
        return lastSocketError();
    const int ready = waitFor(socket, Event::connected, deadline);
    if (ready == SOCKET_ERROR)
        return lastSocketError();
    return ready == 0 ? WSAETIMEDOUT : errorOf(socket);
}

} // namespace

TcpSocket::~TcpSocket() {
    close();
}

void TcpSocket::close() noexcept {
    if (isOpen())
        closesocket(socketOf(handle_));
    handle_ = -1;
}

SocketResult TcpSocket::open(const std::string& host, std::uint16_t port, milliseconds timeout) {
    close();
    const auto deadline = Clock::now() + timeout;
    const HostAddresses found = lookUpHost(host, deadline);
    if (found.addresses.empty())
        return {found.timedOut ? SocketStatus::timedOut : SocketStatus::failed, 0, found.reason};

    DWORD error = 0;
    for (const std::uint32_t each : found.addresses) {
        handle_ = handleOf(openSocket(SOCK_STREAM));
        if (!isOpen())
            return failedWith(lastSocketError());
        const DWORD on = 1;
        const auto* const value = reinterpret_cast<const char*>(&on);
        setsockopt(socketOf(handle_), IPPROTO_TCP, TCP_NODELAY, value, sizeof on);
        setsockopt(socketOf(handle_), SOL_SOCKET, SO_KEEPALIVE, value, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = each;
        error = connectTo(socketOf(handle_), address, deadline);
        if (error == 0)
            return {};
        close();
    }
    return error == WSAETIMEDOUT ? timedOut() : failedWith(error);
}

SocketResult TcpSocket::send(const void* data, std::size_t count, milliseconds stallTimeout) {
    if (!isOpen())
        return failedWith(WSAENOTSOCK);
    const auto* const bytes = static_cast<const char*>(data);
    std::size_t sent = 0;
    while (sent < count) {
        const int result = ::send(socketOf(handle_), bytes + sent, lengthOf(count - sent), 0);
        if (result >= 0) {
            sent += static_cast<std::size_t>(result);
            continue;
        }
        if (lastSocketError() != WSAEWOULDBLOCK)
            return failedWith(lastSocketError(), sent);
        const int ready = waitFor(socketOf(handle_), Event::writable, Clock::now() + stallTimeout);
        if (ready == SOCKET_ERROR)
            return failedWith(lastSocketError(), sent);
        if (ready == 0)
            return timedOut(sent);
    }
    return {SocketStatus::done, sent, {}};
}

SocketResult TcpSocket::receive(void* data, std::size_t count, Clock::time_point deadline) {
    if (!isOpen())
        return failedWith(WSAENOTSOCK);
    for (;;) {
        // Tried before any wait: on a busy line every piece then costs one system call.
        const int result = recv(socketOf(handle_), static_cast<char*>(data), lengthOf(count), 0);
        if (result > 0)
            return {SocketStatus::done, static_cast<std::size_t>(result), {}};
        if (result == 0)
            return {SocketStatus::closed, 0, "Connection closed by the peer"};
        if (lastSocketError() != WSAEWOULDBLOCK)
            return failedWith(lastSocketError());
        const int ready = waitFor(socketOf(handle_), Event::readable, deadline);
        if (ready == SOCKET_ERROR)
            return failedWith(lastSocketError());
        if (ready == 0)
            return timedOut();
    }
}

} // namespace Platform
