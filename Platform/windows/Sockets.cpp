#include "Sockets.h"

#include <algorithm>
#include <chrono>

using std::chrono::milliseconds;

namespace Platform {

namespace {

void startWinsock() {
    static const int started = [] {
        WSADATA data{};
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    static_cast<void>(started); // without it no socket can be opened, and that is told
}

} // namespace

SOCKET openSocket(int type) {
    startWinsock();
    const SOCKET opened =
        WSASocketW(AF_INET, type, 0, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    u_long on = 1;
    if (opened == INVALID_SOCKET || ioctlsocket(opened, static_cast<int>(FIONBIO), &on) == 0)
        return opened;
    const int error = WSAGetLastError();
    closesocket(opened);
    WSASetLastError(error);
    return INVALID_SOCKET;
}

timeval timeUntil(Clock::time_point deadline, milliseconds longest) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    const auto pause = std::clamp(left, milliseconds(0), longest).count();
    return {static_cast<long>(pause / 1000), static_cast<long>(pause % 1000 * 1000)};
}

int waitFor(SOCKET socket, Event event, Clock::time_point deadline) {
    // Waits longer than a piece go round the loop again.
    constexpr milliseconds longestPiece{60'000};
    for (;;) {
        fd_set wanted{};
        wanted.fd_count = 1;
        wanted.fd_array[0] = socket;
        fd_set failed = wanted;
        timeval pause = timeUntil(deadline, longestPiece);
        const bool isRead = event == Event::readable;
        // Of a connection that is made, an urgent byte of the peer's would be an exception, until it is read.
        const int ready = select(0, isRead ? &wanted : nullptr, isRead ? nullptr : &wanted,
                                 event == Event::connected ? &failed : nullptr, &pause);
        if (ready != 0)
            return ready > 0 ? 1 : SOCKET_ERROR;
        if (Clock::now() >= deadline)
            return 0;
    }
}

DWORD errorOf(SOCKET socket) {
    DWORD error = 0;
    int length = sizeof error;
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &length) != 0)
        return lastSocketError();
    return error;
}

} // namespace Platform
