// Broadcasts, in networks of the test's own.

#include "Platform/Winsock.h"

#include "Support/LoopbackPeer.h"
#include "TwoMachines.h"
#include "UdpSocket.h"

#include <gtest/gtest.h>

using TestSupport::DatagramPeer;

namespace {

constexpr int port = 32768;

struct Broadcast : TestSupport::TwoMachines {
    int send(const char* address) const { return own.send("query", port, address); }

    int allowBroadcast(const char* value, int length) const {
        return setsockopt(own.handle, SOL_SOCKET, SO_BROADCAST, value, length);
    }

    const TestSupport::UdpSocket own;
};

} // namespace

TEST_F(Broadcast, IsRefusedWithoutTheOption) {
    EXPECT_EQ(TestSupport::errorOf(send("10.77.1.255")), 10013);
}

TEST_F(Broadcast, ReachesTheNetworkWithAnOptionOfOneByte) {
    neighbour.enter();
    const DatagramPeer peer("0.0.0.0", port);
    machine.enter();
    ASSERT_EQ(allowBroadcast("y", 1), 0);
    EXPECT_EQ(send("10.77.1.255"), 5);
    const auto received = peer.receive();
    ASSERT_TRUE(received);
    EXPECT_EQ(received->text, "query");
    EXPECT_EQ(received->address, "10.77.1.1");

    peer.answer(*received, "[Korva]");
    char buffer[256];
    EXPECT_EQ(Platform::recvfrom(own.handle, buffer, sizeof buffer, 0, nullptr, nullptr), 7);
}

TEST_F(Broadcast, IsRefusedAfterAnOptionOfZeroWhoseFourBytesAreOneNumber) {
    const char zeros[4]{};
    const char large[4] = {0, 0, 0, 1};
    for (const int length : {1, 4}) {
        ASSERT_EQ(allowBroadcast(large, 4), 0);
        EXPECT_EQ(send("10.77.1.255"), 5);
        ASSERT_EQ(allowBroadcast(zeros, length), 0);
        EXPECT_EQ(send("10.77.1.255"), SOCKET_ERROR);
    }
}

TEST_F(Broadcast, IsUnreachableWhereNoNetworkIsThatWay) {
    ASSERT_EQ(allowBroadcast("y", 1), 0);
    EXPECT_EQ(TestSupport::errorOf(send("10.99.1.255")), 10051);
}
