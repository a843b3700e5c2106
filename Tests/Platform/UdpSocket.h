#pragma once
// A socket of the Windows-named operations, with the library started.

#include "Platform/Winsock.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace TestSupport {

class UdpSocket {
public:
    UdpSocket() {
        WSADATA data{};
        EXPECT_EQ(WSAStartup(0x0202, &data), 0);
        handle = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        EXPECT_NE(handle, INVALID_SOCKET);
    }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;
    ~UdpSocket() {
        closesocket(handle);
        WSACleanup();
    }

    int send(std::string_view text, int port, const char* address = "127.0.0.1") const {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(static_cast<unsigned short>(port));
        inet_pton(AF_INET, address, &to.sin_addr);
        return sendto(handle, text.data(), static_cast<int>(text.size()), 0,
                      reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }

    SOCKET handle = INVALID_SOCKET;
};

/// What WSAGetLastError tells of a call that failed.
inline int errorOf(int result) {
    EXPECT_EQ(result, SOCKET_ERROR);
    return WSAGetLastError();
}

} // namespace TestSupport
