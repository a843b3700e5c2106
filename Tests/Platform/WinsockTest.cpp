#include "Platform/Winsock.h"

#include "Support/DatagramPeer.h"
#include "Support/LoopbackPeer.h"

#include <array>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <thread>

using namespace std::chrono_literals;
using TestSupport::DatagramPeer;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

namespace {

/// The library started, and one socket.
class Winsock : public testing::Test {
protected:
    void SetUp() override {
        WSADATA data{};
        ASSERT_EQ(WSAStartup(0x0202, &data), 0);
        socket_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        ASSERT_NE(socket_, INVALID_SOCKET);
    }

    void TearDown() override {
        closesocket(socket_);
        WSACleanup();
    }

    /// Sends the text to a port of loopback.
    int send(std::string_view text, int port) const {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(static_cast<unsigned short>(port));
        inet_pton(AF_INET, "127.0.0.1", &to.sin_addr);
        return sendto(socket_, text.data(), static_cast<int>(text.size()), 0,
                      reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }

    int setTimeout(DWORD milliseconds) const {
        return setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&milliseconds),
                          sizeof milliseconds);
    }

    int receive(std::array<char, 256>& buffer) const {
        return Platform::recvfrom(socket_, buffer.data(), static_cast<int>(buffer.size()), 0, nullptr,
                                  nullptr);
    }

    /// Has the peer hear of the socket, and answer it with `text`.
    void haveAnswered(const DatagramPeer& peer, std::string_view text) const {
        ASSERT_EQ(send("?", peer.port()), 1);
        const auto query = peer.receive();
        ASSERT_TRUE(query);
        peer.answer(*query, text);
    }

    SOCKET socket_ = INVALID_SOCKET;
};

int errorOf(int result) {
    EXPECT_EQ(result, SOCKET_ERROR);
    return WSAGetLastError();
}

int errorOfSocket(int family, int type, int protocol) {
    EXPECT_EQ(socket(family, type, protocol), INVALID_SOCKET);
    return WSAGetLastError();
}

} // namespace

TEST(WinsockStartup, IsCounted) {
    WSADATA data{};
    ASSERT_EQ(WSAStartup(0x0202, &data), 0);
    ASSERT_EQ(WSAStartup(0x0202, &data), 0);
    EXPECT_EQ(WSACleanup(), 0);
    const SOCKET stillGiven = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    EXPECT_NE(stillGiven, INVALID_SOCKET);
    EXPECT_EQ(closesocket(stillGiven), 0);
    EXPECT_EQ(WSACleanup(), 0);
    EXPECT_EQ(errorOfSocket(AF_INET, SOCK_DGRAM, IPPROTO_UDP), 10093);
    EXPECT_EQ(errorOf(WSACleanup()), 10093);
}

TEST(WinsockStartup, AgreesOnAVersion) {
    const auto agreedOn = [](WORD asked) {
        WSADATA data{};
        EXPECT_EQ(WSAStartup(asked, &data), 0);
        EXPECT_EQ(WSACleanup(), 0);
        EXPECT_EQ(data.wHighVersion, 0x0202);
        return data.wVersion;
    };
    EXPECT_EQ(agreedOn(0x0202), 0x0202);
    EXPECT_EQ(agreedOn(0x0101), 0x0101);
    EXPECT_EQ(agreedOn(0x0302), 0x0202);
    EXPECT_EQ(agreedOn(0x0003), 0x0202);
}

TEST(WinsockStartup, RefusesVersionNoughtAndNoDataWithoutCounting) {
    WSADATA data{};
    EXPECT_EQ(WSAStartup(0x0200, &data), 10092);
    EXPECT_EQ(WSAStartup(0x0202, nullptr), 10014);
    EXPECT_EQ(errorOf(WSACleanup()), 10093);
}

TEST_F(Winsock, GivesNoSocketsOfOtherKinds) {
    EXPECT_EQ(errorOfSocket(23, SOCK_DGRAM, IPPROTO_UDP), 10047);
    EXPECT_EQ(errorOfSocket(AF_INET, 1, IPPROTO_UDP), 10044);
    EXPECT_EQ(errorOfSocket(AF_INET, SOCK_DGRAM, 6), 10043);
}

TEST_F(Winsock, SendsExactlyTheBytes) {
    const DatagramPeer peer;
    EXPECT_EQ(send("AreThere", peer.port()), 8);
    const auto received = peer.receive();
    ASSERT_TRUE(received);
    EXPECT_EQ(received->text, "AreThere");
    EXPECT_EQ(received->address, "127.0.0.1");
}

TEST_F(Winsock, TellsATimeOutAs10060AfterTheTimeSet) {
    ASSERT_EQ(setTimeout(200), 0);
    std::array<char, 256> buffer{};
    const Stopwatch watch;
    EXPECT_EQ(errorOf(receive(buffer)), 10060);
    EXPECT_GE(watch.elapsed(), 200ms);
    EXPECT_LT(watch.elapsed(), 2s);
}

TEST_F(Winsock, SignalsNeitherShortenNorProlongTheTimeOut) {
    ASSERT_EQ(setTimeout(300), 0);
    std::array<char, 256> buffer{};
    const SignalStorm storm;
    const Stopwatch watch;
    EXPECT_EQ(errorOf(receive(buffer)), 10060);
    EXPECT_GE(watch.elapsed(), 300ms);
    EXPECT_LT(watch.elapsed(), 2s);
    EXPECT_GT(storm.handled(), 0);
}

TEST_F(Winsock, WaitsWithoutEndWhereNoTimeOutIsSet) {
    ASSERT_EQ(setTimeout(1), 0);
    ASSERT_EQ(setTimeout(0), 0);
    const DatagramPeer peer;
    ASSERT_EQ(send("?", peer.port()), 1);
    const auto query = peer.receive();
    ASSERT_TRUE(query);
    std::array<char, 256> buffer{};
    int received = 0;
    const SignalStorm storm;
    std::thread answering([&] {
        storm.awaitMore(3);
        peer.answer(*query, "late");
    });
    received = receive(buffer);
    answering.join();
    EXPECT_EQ(received, 4);
}

TEST_F(Winsock, LeavesWhatIsBehindAShorterDatagramInTheBuffer) {
    const DatagramPeer peer;
    std::array<char, 256> buffer{};
    haveAnswered(peer, "0123456789");
    EXPECT_EQ(receive(buffer), 10);
    haveAnswered(peer, "abc");
    EXPECT_EQ(receive(buffer), 3);
    EXPECT_STREQ(buffer.data(), "abc3456789");
}

TEST_F(Winsock, GivesTheFirstBytesOfADatagramLargerThanTheBuffer) {
    const DatagramPeer peer;
    const std::string start(256, 'a');
    haveAnswered(peer, start + std::string(44, 'b'));
    haveAnswered(peer, "next");
    struct {
        std::array<char, 256> buffer{};
        char behind = '|';
    } room;
    EXPECT_EQ(receive(room.buffer), 256);
    EXPECT_EQ(std::string(room.buffer.data(), 256), start);
    EXPECT_EQ(room.behind, '|');
    EXPECT_EQ(receive(room.buffer), 4); // the rest of the large one is gone
}

TEST_F(Winsock, ReceivesADatagramOfExactlyTheBuffersSize) {
    const DatagramPeer peer;
    haveAnswered(peer, std::string(256, 'x'));
    std::array<char, 256> buffer{};
    EXPECT_EQ(receive(buffer), 256);
}

TEST_F(Winsock, ReceivesAnEmptyDatagramAsNought) {
    const DatagramPeer peer;
    haveAnswered(peer, "");
    std::array<char, 256> buffer{};
    EXPECT_EQ(receive(buffer), 0);
}

TEST_F(Winsock, TellsTheSender) {
    const DatagramPeer peer;
    haveAnswered(peer, "here");
    std::array<char, 256> buffer{};
    sockaddr_in from{};
    int fromLength = sizeof from;
    EXPECT_EQ(
        Platform::recvfrom(socket_, buffer.data(), 256, 0, reinterpret_cast<sockaddr*>(&from), &fromLength),
        4);
    EXPECT_EQ(fromLength, 16);
    EXPECT_EQ(from.sin_family, AF_INET);
    EXPECT_EQ(from.sin_port, htons(static_cast<unsigned short>(peer.port())));
    std::array<char, 64> text{};
    EXPECT_STREQ(inet_ntop(AF_INET, &from.sin_addr, text.data(), text.size()), "127.0.0.1");
}

TEST_F(Winsock, RefusesToReceiveWhatItCannot) {
    std::array<char, 256> buffer{};
    sockaddr from{};
    int tooSmall = 15;
    EXPECT_EQ(errorOf(Platform::recvfrom(socket_, buffer.data(), 256, 0, &from, nullptr)), 10014);
    EXPECT_EQ(errorOf(Platform::recvfrom(socket_, buffer.data(), 256, 0, &from, &tooSmall)), 10014);
    EXPECT_EQ(errorOf(Platform::recvfrom(socket_, buffer.data(), -1, 0, nullptr, nullptr)), 10022);
    EXPECT_EQ(errorOf(Platform::recvfrom(socket_, buffer.data(), 256, 1, nullptr, nullptr)), 10045);
}

TEST_F(Winsock, RefusesToSendWhatItCannot) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    const auto* const address = reinterpret_cast<const sockaddr*>(&to);
    EXPECT_EQ(errorOf(sendto(socket_, "x", 1, 0, nullptr, 16)), 10014);
    EXPECT_EQ(errorOf(sendto(socket_, "x", 1, 0, address, 15)), 10014);
    EXPECT_EQ(errorOf(sendto(socket_, "x", 1, 1, address, 16)), 10045);
    EXPECT_EQ(errorOf(sendto(socket_, "x", -1, 0, address, 16)), 10022);
    to.sin_family = 23;
    EXPECT_EQ(errorOf(sendto(socket_, "x", 1, 0, address, 16)), 10047);
    EXPECT_EQ(errorOf(send(std::string(66'000, 'x'), 9)), 10040);
}

TEST_F(Winsock, RefusesOptionsThatItDoesNotKnow) {
    const std::array<char, 4> one{1};
    EXPECT_EQ(errorOf(setsockopt(socket_, SOL_SOCKET, 0x0004, one.data(), 4)), 10042);
    EXPECT_EQ(errorOf(setsockopt(socket_, 1, SO_BROADCAST, one.data(), 4)), 10042);
}

TEST_F(Winsock, RefusesOptionValuesThatAreTooShort) {
    const std::array<char, 4> one{1};
    EXPECT_EQ(errorOf(setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, one.data(), 3)), 10014);
    EXPECT_EQ(errorOf(setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, nullptr, 4)), 10014);
    EXPECT_EQ(errorOf(setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, one.data(), 0)), 10014);
    EXPECT_EQ(errorOf(setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, nullptr, 1)), 10014);
    EXPECT_EQ(errorOf(setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, one.data(), INT_MIN)), 10014);
}

TEST_F(Winsock, TellsASocketThatIsNone) {
    std::array<char, 256> buffer{};
    for (const SOCKET none : {INVALID_SOCKET, SOCKET{1'000'000}, SOCKET{0x1'0000'0000}}) {
        const SOCKET open = socket_;
        socket_ = none;
        EXPECT_EQ(errorOf(receive(buffer)), 10038);
        EXPECT_EQ(errorOf(send("x", 9)), 10038);
        EXPECT_EQ(errorOf(setTimeout(1)), 10038);
        EXPECT_EQ(errorOf(closesocket(none)), 10038);
        socket_ = open;
    }
}

TEST_F(Winsock, ClosesTheSocketOnce) {
    const std::size_t before = TestSupport::openDescriptors();
    const SOCKET other = socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(closesocket(other), 0);
    EXPECT_EQ(TestSupport::openDescriptors(), before);
    EXPECT_EQ(errorOf(closesocket(other)), 10038);
}

TEST_F(Winsock, KeepsAnErrorForTheThreadThatHadIt) {
    SetLastError(0);
    std::thread([] {
        closesocket(INVALID_SOCKET);
        EXPECT_EQ(WSAGetLastError(), 10038);
    }).join();
    EXPECT_EQ(WSAGetLastError(), 0);
}

TEST(WinsockAddresses, AreOfTheWindowsShape) {
    EXPECT_EQ(sizeof(sockaddr_in), 16U);
    EXPECT_EQ(sizeof(sockaddr), 16U);
    EXPECT_EQ(offsetof(sockaddr_in, sin_port), 2U);
    EXPECT_EQ(offsetof(sockaddr_in, sin_addr), 4U);
}

TEST(WinsockAddresses, AreReadInDottedDecimalAlone) {
    in_addr address{};
    EXPECT_EQ(inet_pton(AF_INET, "10.1.2.200", &address), 1);
    const std::array<unsigned char, 4> expected{10, 1, 2, 200};
    EXPECT_EQ(std::memcmp(&address, expected.data(), 4), 0);
    for (const char* const text :
         {"", "10.1.2", "10.1.2.256", "10.1.2.3.4", "10.1.2.3 ", "0x0a.1.2.3", "::1"})
        EXPECT_EQ(inet_pton(AF_INET, text, &address), 0) << text;
    EXPECT_EQ(std::memcmp(&address, expected.data(), 4), 0);
    EXPECT_EQ(errorOf(inet_pton(23, "::1", &address)), 10047);
    EXPECT_EQ(errorOf(inet_pton(AF_INET, nullptr, &address)), 10014);
}

TEST(WinsockAddresses, AreWrittenWhereThereIsRoom) {
    in_addr address{};
    inet_pton(AF_INET, "10.1.2.200", &address);
    std::array<char, 64> text{};
    EXPECT_EQ(inet_ntop(AF_INET, &address, text.data(), 11), text.data());
    EXPECT_STREQ(text.data(), "10.1.2.200");
    EXPECT_EQ(inet_ntop(AF_INET, &address, text.data(), 10), nullptr);
    EXPECT_EQ(WSAGetLastError(), 87);
    EXPECT_EQ(inet_ntop(AF_INET, nullptr, text.data(), 64), nullptr);
    EXPECT_EQ(WSAGetLastError(), 87);
    EXPECT_EQ(inet_ntop(23, &address, text.data(), 64), nullptr);
    EXPECT_EQ(WSAGetLastError(), 10047);
}

TEST(WinsockAddresses, HaveTheirPortsInNetworkOrder) {
    const unsigned short port = htons(32768 + 1);
    std::array<unsigned char, 2> bytes{};
    std::memcpy(bytes.data(), &port, 2);
    EXPECT_EQ(bytes, (std::array<unsigned char, 2>{0x80, 0x01}));
}
