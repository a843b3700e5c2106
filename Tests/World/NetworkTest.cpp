// The scripted datagram sockets fail and wait as their tests rely on.

#include "World/Network.h"
#include "World/Calls.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

using namespace std::chrono_literals;
using World::Calls;

namespace {

class NetworkOfTheWorld : public testing::Test {
protected:
    NetworkOfTheWorld() { World::reset(); }

    SOCKET start() {
        WSADATA data{};
        EXPECT_EQ(WSAStartup(0x0202, &data), 0);
        return socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    }

    Calls& calls_ = Calls::current();
    World::Network& network_ = World::Network::current();
};

int receive(SOCKET from, std::array<char, 8>& buffer) {
    return Platform::recvfrom(from, buffer.data(), 8, 0, nullptr, nullptr);
}

} // namespace

TEST_F(NetworkOfTheWorld, FailsTheCallThatItIsToldTo) {
    const SOCKET opened = start();
    calls_.fail("setsockopt", 10022, 2);
    EXPECT_EQ(setsockopt(opened, SOL_SOCKET, SO_BROADCAST, "y", 1), 0);
    EXPECT_EQ(setsockopt(opened, SOL_SOCKET, SO_BROADCAST, "y", 1), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10022);
    EXPECT_EQ(setsockopt(opened, SOL_SOCKET, SO_BROADCAST, "y", 1), 0);
    calls_.fail("GetAdaptersInfo", 50);
    ULONG bytes = 0;
    EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), 50U);
}

TEST_F(NetworkOfTheWorld, GivesTheDatagramsAndThenATimeOut) {
    const SOCKET opened = start();
    network_.datagrams = {"0123456789", "ab"};
    std::array<char, 8> buffer{};
    EXPECT_EQ(receive(opened, buffer), 8);
    EXPECT_EQ(receive(opened, buffer), 2);
    EXPECT_EQ(std::string(buffer.data(), 8), "ab234567");
    EXPECT_EQ(receive(opened, buffer), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10060);
}

TEST_F(NetworkOfTheWorld, WaitsForADatagramAsLongAsTheSocketsTimeOutAllows) {
    const SOCKET opened = start();
    const DWORD patience = 1000;
    setsockopt(opened, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&patience), sizeof patience);
    network_.datagrams = {{"soon", 300ms}, {"later", 1500ms}};
    std::array<char, 8> buffer{};
    EXPECT_EQ(receive(opened, buffer), 4);
    EXPECT_EQ(World::elapsed(), 300ms);
    EXPECT_EQ(receive(opened, buffer), SOCKET_ERROR);
    EXPECT_EQ(World::elapsed(), 1300ms);
    EXPECT_EQ(receive(opened, buffer), 5);
    EXPECT_EQ(World::elapsed(), 1800ms);
    EXPECT_EQ(receive(opened, buffer), SOCKET_ERROR);
    EXPECT_EQ(World::elapsed(), 2800ms);
}

TEST_F(NetworkOfTheWorld, KnowsOnlySocketsThatAreOpen) {
    EXPECT_EQ(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP), INVALID_SOCKET);
    EXPECT_EQ(WSAGetLastError(), 10093);
    const SOCKET opened = start();
    EXPECT_EQ(closesocket(opened), 0);
    EXPECT_EQ(closesocket(opened), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10038);
}
