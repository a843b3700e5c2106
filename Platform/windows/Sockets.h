#pragma once
// Connections that do not keep their thread waiting.

#include "SystemText.h"

#include "Platform/Clock.h"

#include <chrono>
#include <cstdint>

namespace Platform {

/// A new socket that never waits, of SOCK_STREAM or SOCK_DGRAM; starts Winsock before the first one and
/// leaves it started. INVALID_SOCKET if there is none: see lastSocketError().
SOCKET openSocket(int type);

/// What a socket is waited for.
enum class Event {
    readable,
    writable,
    connected ///< or failed to connect
};

/// Waits until `deadline`: 1 if it came, 0 if it did not, SOCKET_ERROR: see lastSocketError().
int waitFor(SOCKET socket, Event event, Clock::time_point deadline);

/// What has become of a connection in the making: 0 or an error.
DWORD errorOf(SOCKET socket);

/// So long at most as `select` takes it.
timeval timeUntil(Clock::time_point deadline, std::chrono::milliseconds longest);

inline SOCKET socketOf(std::intptr_t handle) {
    return static_cast<SOCKET>(handle);
}

inline std::intptr_t handleOf(SOCKET socket) {
    return static_cast<std::intptr_t>(socket);
}

} // namespace Platform
