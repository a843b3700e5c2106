// The scripted sockets, adapters and ARP do what their tests rely on.

#include "World/Network.h"
#include "World/Calls.h"

#include <array>
#include <gmock/gmock.h>
#include <string>
#include <vector>

using testing::ElementsAre;
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

TEST_F(NetworkOfTheWorld, RecordsEveryCallWithItsArguments) {
    const SOCKET opened = start();
    setsockopt(opened, SOL_SOCKET, SO_BROADCAST, "y", 1);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(32768);
    inet_pton(AF_INET, "10.0.0.255", &to.sin_addr);
    std::array<char, 64> text{};
    EXPECT_STREQ(inet_ntop(AF_INET, &to.sin_addr, text.data(), 64), "10.0.0.255");
    EXPECT_EQ(sendto(opened, "who", 3, 0, reinterpret_cast<sockaddr*>(&to), sizeof to), 3);
    std::array<char, 8> buffer{};
    receive(opened, buffer);
    WSAGetLastError();
    closesocket(opened);
    WSACleanup();
    EXPECT_THAT(calls_.lines(),
                ElementsAre("WSAStartup 0x0202", "socket 2, 2, 17", "setsockopt 1, 65535, 32, <79>",
                            "inet_pton 2, 10.0.0.255", "inet_ntop 2, 10.0.0.255, 64",
                            "sendto 1, \"who\", 0, 2 10.0.0.255:32768, 16", "recvfrom 1, 8, 0, null, null",
                            "WSAGetLastError", "closesocket 1", "WSACleanup"));
    EXPECT_THAT(calls_.of("socket"), ElementsAre("socket 2, 2, 17"));
    EXPECT_TRUE(network_.openSockets.empty());
    EXPECT_EQ(network_.startups, 0);
}

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

TEST_F(NetworkOfTheWorld, ListsAdaptersWithTheirAddresses) {
    network_.adapters = {{"bare", {}}, {"full", {{"10.0.0.1", "255.0.0.0"}, {"nonsense", "x"}}, "\x02\x01"}};
    ULONG bytes = 0;
    ASSERT_EQ(GetAdaptersInfo(nullptr, &bytes), 111U);
    std::vector<char> buffer(bytes);
    auto* const first = reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data());
    ASSERT_EQ(GetAdaptersInfo(first, &bytes), 0U);
    EXPECT_STREQ(first->IpAddressList.IpAddress.String, "0.0.0.0");
    EXPECT_EQ(first->IpAddressList.Next, nullptr);
    ASSERT_NE(first->Next, nullptr);
    EXPECT_STREQ(first->Next->IpAddressList.IpMask.String, "255.0.0.0");
    ASSERT_NE(first->Next->IpAddressList.Next, nullptr);
    EXPECT_STREQ(first->Next->IpAddressList.Next->IpAddress.String, "nonsense");
    EXPECT_EQ(first->Next->AddressLength, 2U);
    EXPECT_EQ(first->Next->Next, nullptr);

    network_.adapters.clear();
    EXPECT_EQ(GetAdaptersInfo(first, &bytes), 232U);
}

TEST_F(NetworkOfTheWorld, AnswersArpAsScripted) {
    network_.arp["10.0.0.5"] = {.hardwareAddress = "\x01\x02\x03\x04"};
    network_.arp["10.0.0.6"] = {.hardwareAddress = {}, .code = 31};
    network_.arp["10.0.0.7"] = {.hardwareAddress = "\x09", .code = NO_ERROR, .length = 200};
    std::array<unsigned char, 8> mac{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0};
    IPAddr address = 0;
    ULONG length = 6;
    inet_pton(AF_INET, "10.0.0.5", &address);
    EXPECT_EQ(SendARP(address, 0, mac.data(), &length), 0U);
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(mac, (std::array<unsigned char, 8>{1, 2, 3, 4, 0xFF, 0xFF, 0, 0}));
    EXPECT_THAT(calls_.of("SendARP"), ElementsAre("SendARP 10.0.0.5, 0.0.0.0, <ffffffffffff>"));
    length = 6;
    inet_pton(AF_INET, "10.0.0.6", &address);
    EXPECT_EQ(SendARP(address, 0, mac.data(), &length), 31U);
    inet_pton(AF_INET, "10.0.0.7", &address);
    EXPECT_EQ(SendARP(address, 0, mac.data(), &length), 0U);
    EXPECT_EQ(length, 200U);
    length = 6;
    inet_pton(AF_INET, "10.0.0.8", &address);
    EXPECT_EQ(SendARP(address, 0, mac.data(), &length), 67U);
}
