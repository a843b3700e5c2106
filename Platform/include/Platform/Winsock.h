#pragma once
// The datagram sockets that this system calls, under their Winsock names, types, structures and result codes.
//
// On Windows this header hands over to the system's own. Elsewhere it lets the sources write the names that
// Platform/WinsockNames.h declares as they would on Windows. One operation bears its namespace on every
// system: Platform::recvfrom.

#if defined(_WIN32)

#include "Platform/Kernel.h"

#include <winsock2.h>
#include <ws2tcpip.h>

namespace Platform {

// As Platform/WinsockNames.h describes it.
inline int recvfrom(SOCKET socket, char* buffer, int length, int flags, sockaddr* from, int* fromLength) {
    const int received = ::recvfrom(socket, buffer, length, flags, from, fromLength);
    return received == SOCKET_ERROR && WSAGetLastError() == WSAEMSGSIZE ? length : received;
}

} // namespace Platform

#else

#include "Platform/WinsockNames.h"

using namespace Platform::Winsock; // the one purpose of this header

#endif
