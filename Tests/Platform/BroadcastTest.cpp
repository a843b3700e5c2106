// Broadcasts, in networks of the test's own.

#include "Platform/Winsock.h"
#include "Support/DatagramPeer.h"
#include "Support/NetworkNamespace.h"

#include <gtest/gtest.h>
#include <string_view>

using TestSupport::DatagramPeer;
using TestSupport::NetworkNamespace;

namespace {

constexpr int port = 32768;

/// Two machines on one wire, this one without a way to any other network.
class Broadcast : public testing::Test {
protected:
    Broadcast() {
        machine_.run("ip link add wire0 type veth peer name wire0 netns {other};"
                     "ip addr add 10.77.1.1/24 dev wire0; ip link set wire0 up",
                     &neighbour_);
        neighbour_.run("ip addr add 10.77.1.2/24 dev wire0; ip link set wire0 up");
        neighbour_.awaitLink("wire0");
        machine_.awaitLink("wire0");
        WSADATA data{};
        WSAStartup(0x0202, &data);
        socket_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    }

    ~Broadcast() override {
        closesocket(socket_);
        WSACleanup();
    }

    int send(std::string_view text, const char* address) const {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        inet_pton(AF_INET, address, &to.sin_addr);
        return sendto(socket_, text.data(), static_cast<int>(text.size()), 0,
                      reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }

    int allowBroadcast(const char* value, int length) const {
        return setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, value, length);
    }

    NetworkNamespace neighbour_;
    NetworkNamespace machine_;
    SOCKET socket_ = INVALID_SOCKET;
};

} // namespace

TEST_F(Broadcast, IsRefusedWithoutTheOption) {
    EXPECT_EQ(send("query", "10.77.1.255"), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10013);
}

TEST_F(Broadcast, ReachesTheNetworkWithAnOptionOfOneByte) {
    neighbour_.enter();
    const DatagramPeer peer("0.0.0.0", port);
    machine_.enter();
    ASSERT_EQ(allowBroadcast("y", 1), 0);
    EXPECT_EQ(send("query", "10.77.1.255"), 5);
    const auto received = peer.receive();
    ASSERT_TRUE(received);
    EXPECT_EQ(received->text, "query");
    EXPECT_EQ(received->address, "10.77.1.1");

    peer.answer(*received, "[Korva]");
    char buffer[256];
    EXPECT_EQ(Platform::recvfrom(socket_, buffer, sizeof buffer, 0, nullptr, nullptr), 7);
}

TEST_F(Broadcast, IsRefusedAfterAnOptionOfZero) {
    ASSERT_EQ(allowBroadcast("y", 1), 0);
    const char zeros[4]{};
    ASSERT_EQ(allowBroadcast(zeros, 1), 0);
    EXPECT_EQ(send("query", "10.77.1.255"), SOCKET_ERROR);
}

TEST_F(Broadcast, TakesAnOptionOfFourBytesForANumber) {
    const char zeros[4]{};
    const char large[4] = {0, 0, 0, 1};
    ASSERT_EQ(allowBroadcast(large, 4), 0);
    EXPECT_EQ(send("query", "10.77.1.255"), 5);
    ASSERT_EQ(allowBroadcast(zeros, 4), 0);
    EXPECT_EQ(send("query", "10.77.1.255"), SOCKET_ERROR);
}

TEST_F(Broadcast, IsUnreachableWhereNoNetworkIsThatWay) {
    ASSERT_EQ(allowBroadcast("y", 1), 0);
    EXPECT_EQ(send("query", "10.99.1.255"), SOCKET_ERROR);
    EXPECT_EQ(WSAGetLastError(), 10051);
}
