#include "Platform/Winsock.h"

#include "Support/LoopbackPeer.h"
#include "UdpSocket.h"

#include <array>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>

using namespace std::chrono_literals;
using TestSupport::DatagramPeer;
using TestSupport::errorOf;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

namespace {

struct Winsock : testing::Test {
    int setTimeout(DWORD milliseconds) const {
        return setsockopt(own.handle, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&milliseconds),
                          sizeof milliseconds);
    }

    /// Receives into `buffer`, whose other bytes stay.
    int receive() { return Platform::recvfrom(own.handle, buffer.data(), 256, 0, nullptr, nullptr); }

    /// The query that the peer hears.
    TestSupport::Datagram ask() const {
        EXPECT_EQ(own.send("AreThere", peer.port()), 8);
        const TestSupport::Datagram query = peer.receive().value();
        EXPECT_EQ(query.text, "AreThere");
        EXPECT_EQ(query.address, "127.0.0.1");
        return query;
    }
    void haveAnswered(std::string_view text) const { peer.answer(ask(), text); }

    TestSupport::UdpSocket own;
    const DatagramPeer peer;
    std::array<char, 300> buffer{};
};

int errorOfSocket(int family, int type, int protocol) {
    EXPECT_EQ(socket(family, type, protocol), INVALID_SOCKET);
    return WSAGetLastError();
}

} // namespace

TEST(WinsockStartup, IsCounted) {
    {
        const TestSupport::UdpSocket outer;
        { const TestSupport::UdpSocket inner; }
        const SOCKET stillGiven = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        EXPECT_NE(stillGiven, INVALID_SOCKET);
        EXPECT_EQ(closesocket(stillGiven), 0);
    }
    EXPECT_EQ(errorOfSocket(AF_INET, SOCK_DGRAM, IPPROTO_UDP), 10093);
    EXPECT_EQ(errorOf(WSACleanup()), 10093);
}

TEST(WinsockStartup, AgreesOnAVersion) {
    for (const auto& [asked, agreed] :
         {std::pair<WORD, WORD>(0x0202, 0x0202), {0x0101, 0x0101}, {0x0302, 0x0202}, {0x0003, 0x0202}}) {
        WSADATA data{};
        EXPECT_EQ(WSAStartup(asked, &data), 0);
        EXPECT_EQ(WSACleanup(), 0);
        EXPECT_EQ(data.wHighVersion, 0x0202);
        EXPECT_EQ(data.wVersion, agreed);
    }
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

TEST_F(Winsock, TellsATimeOutAs10060AfterTheTimeSetAlsoAmidstSignals) {
    ASSERT_EQ(setTimeout(200), 0);
    for (const bool amidstSignals : {false, true}) {
        std::optional<SignalStorm> storm;
        if (amidstSignals)
            storm.emplace();
        const Stopwatch watch;
        EXPECT_EQ(errorOf(receive()), 10060);
        EXPECT_GE(watch.elapsed(), 200ms);
        EXPECT_LT(watch.elapsed(), 2s);
        EXPECT_TRUE(!storm || storm->handled() > 0);
    }
}

TEST_F(Winsock, WaitsWithoutEndWhereNoTimeOutIsSet) {
    ASSERT_EQ(setTimeout(1), 0);
    ASSERT_EQ(setTimeout(0), 0);
    const TestSupport::Datagram query = ask();
    const SignalStorm storm;
    std::thread answering([&] {
        storm.awaitMore(3);
        peer.answer(query, "late");
    });
    EXPECT_EQ(receive(), 4);
    answering.join();
}

TEST_F(Winsock, ReceivesDatagramsOfAnySizeUpToTheBuffers) {
    const std::string start(256, 'a');
    const std::string exact(256, 'c');
    for (const auto& [datagram, received, text] : {
             std::tuple<std::string, int, std::string>("0123456789", 10, "0123456789"),
             {"abc", 3, "abc3456789"}, // what is behind a shorter one stays in the buffer
             {"", 0, "abc3456789"},
             {start + std::string(44, 'b'), 256, start}, // the rest is gone, and not into the next
             {"next", 4, "next" + start.substr(4)},
             {exact, 256, exact},
         }) {
        haveAnswered(datagram);
        EXPECT_EQ(receive(), received);
        EXPECT_STREQ(buffer.data(), text.c_str());
    }
}

TEST_F(Winsock, TellsTheSender) {
    haveAnswered("here");
    sockaddr_in from{};
    int fromLength = sizeof from;
    EXPECT_EQ(Platform::recvfrom(own.handle, buffer.data(), 256, 0, reinterpret_cast<sockaddr*>(&from),
                                 &fromLength),
              4);
    EXPECT_EQ(fromLength, 16);
    EXPECT_EQ(from.sin_family, AF_INET);
    EXPECT_EQ(from.sin_port, htons(static_cast<unsigned short>(peer.port())));
    std::array<char, 64> text{};
    EXPECT_STREQ(inet_ntop(AF_INET, &from.sin_addr, text.data(), text.size()), "127.0.0.1");
}

TEST_F(Winsock, RefusesToReceiveWhatItCannot) {
    sockaddr from{};
    int tooSmall = 15;
    const auto error = [this](int count, int flags, sockaddr* address, int* length) {
        return errorOf(Platform::recvfrom(own.handle, buffer.data(), count, flags, address, length));
    };
    EXPECT_EQ(error(256, 0, &from, nullptr), 10014);
    EXPECT_EQ(error(256, 0, &from, &tooSmall), 10014);
    EXPECT_EQ(error(-1, 0, nullptr, nullptr), 10022);
    EXPECT_EQ(error(256, 1, nullptr, nullptr), 10045);
}

TEST_F(Winsock, RefusesToSendWhatItCannot) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    const auto* const address = reinterpret_cast<const sockaddr*>(&to);
    const auto error = [this](int count, int flags, const sockaddr* where, int length) {
        return errorOf(sendto(own.handle, "x", count, flags, where, length));
    };
    EXPECT_EQ(error(1, 0, nullptr, 16), 10014);
    EXPECT_EQ(error(1, 0, address, 15), 10014);
    EXPECT_EQ(error(1, 1, address, 16), 10045);
    EXPECT_EQ(error(-1, 0, address, 16), 10022);
    to.sin_family = 23;
    EXPECT_EQ(error(1, 0, address, 16), 10047);
    EXPECT_EQ(errorOf(own.send(std::string(66'000, 'x'), 9)), 10040);
}

TEST_F(Winsock, RefusesOptionsThatItDoesNotKnowAndValuesThatAreTooShort) {
    const std::array<char, 4> one{1};
    const auto error = [this](int level, int option, const char* value, int length) {
        return errorOf(setsockopt(own.handle, level, option, value, length));
    };
    EXPECT_EQ(error(SOL_SOCKET, 0x0004, one.data(), 4), 10042);
    EXPECT_EQ(error(1, SO_BROADCAST, one.data(), 4), 10042);
    EXPECT_EQ(error(SOL_SOCKET, SO_RCVTIMEO, one.data(), 3), 10014);
    EXPECT_EQ(error(SOL_SOCKET, SO_RCVTIMEO, nullptr, 4), 10014);
    EXPECT_EQ(error(SOL_SOCKET, SO_BROADCAST, one.data(), 0), 10014);
    EXPECT_EQ(error(SOL_SOCKET, SO_BROADCAST, nullptr, 1), 10014);
    EXPECT_EQ(error(SOL_SOCKET, SO_BROADCAST, one.data(), INT_MIN), 10014);
}

TEST_F(Winsock, TellsASocketThatIsNone) {
    const SOCKET open = own.handle;
    for (const SOCKET none : {INVALID_SOCKET, SOCKET{1'000'000}, SOCKET{0x1'0000'0000}}) {
        own.handle = none;
        EXPECT_EQ(errorOf(receive()), 10038);
        EXPECT_EQ(errorOf(own.send("x", 9)), 10038);
        EXPECT_EQ(errorOf(setTimeout(1)), 10038);
        EXPECT_EQ(errorOf(closesocket(none)), 10038);
    }
    own.handle = open;
}

TEST_F(Winsock, ClosesTheSocketOnceAndKeepsAnErrorForTheThreadThatHadIt) {
    const std::size_t before = TestSupport::openDescriptors();
    const SOCKET other = socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(closesocket(other), 0);
    EXPECT_EQ(TestSupport::openDescriptors(), before);
    SetLastError(0);
    std::thread([other] { EXPECT_EQ(errorOf(closesocket(other)), 10038); }).join();
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
    const auto error = [&](int family, const in_addr* from, std::size_t room) {
        EXPECT_EQ(inet_ntop(family, from, text.data(), room), nullptr);
        return WSAGetLastError();
    };
    EXPECT_EQ(error(AF_INET, &address, 10), 87);
    EXPECT_EQ(error(AF_INET, nullptr, 64), 87);
    EXPECT_EQ(error(23, &address, 64), 10047);
}

TEST(WinsockAddresses, HaveTheirPortsInNetworkOrder) {
    const unsigned short port = htons(32768 + 1);
    std::array<unsigned char, 2> bytes{};
    std::memcpy(bytes.data(), &port, 2);
    EXPECT_EQ(bytes, (std::array<unsigned char, 2>{0x80, 0x01}));
}
