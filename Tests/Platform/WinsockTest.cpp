#include "Platform/Winsock.h"

#include "Support/LoopbackPeer.h"

#include <array>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>

using namespace std::chrono_literals;
using namespace std::string_view_literals;
using TestSupport::DatagramPeer;
using TestSupport::SignalStorm;

namespace {

constexpr int otherFamily = 23;

struct Winsock : testing::Test {
    Winsock() {
        WSADATA data{};
        EXPECT_EQ(WSAStartup(0x0202, &data), 0);
        own = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        EXPECT_NE(own, INVALID_SOCKET);
    }
    ~Winsock() override {
        closesocket(own);
        WSACleanup();
    }

    int set(int option, std::string_view value) const {
        return setsockopt(own, SOL_SOCKET, option, value.data(), static_cast<int>(value.size()));
    }
    int setTimeout(DWORD milliseconds) const {
        return set(SO_RCVTIMEO, {reinterpret_cast<const char*>(&milliseconds), sizeof milliseconds});
    }

    int send(std::string_view text, int port, const char* address = "127.0.0.1") const {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(static_cast<unsigned short>(port));
        inet_pton(AF_INET, address, &to.sin_addr);
        return sendto(own, text.data(), static_cast<int>(text.size()), 0,
                      reinterpret_cast<const sockaddr*>(&to), sizeof to);
    }
    /// Receives into `buffer`, whose other bytes stay.
    int receive(sockaddr_in* from = nullptr, int* fromLength = nullptr, int count = 256, int flags = 0) {
        return Platform::recvfrom(own, buffer.data(), count, flags, reinterpret_cast<sockaddr*>(from),
                                  fromLength);
    }
    /// After the time set, which is 200 ms.
    void expectTimeOut() {
        ASSERT_EQ(setTimeout(200), 0);
        const TestSupport::Stopwatch watch;
        EXPECT_EQ(receive(), SOCKET_ERROR);
        EXPECT_EQ(WSAGetLastError(), 10060);
        EXPECT_GE(watch.elapsed(), 200ms);
        EXPECT_LT(watch.elapsed(), 2s);
    }
    /// The peer hears a query.
    void ask() {
        EXPECT_EQ(send("AreThere", peer.port()), 8);
        EXPECT_EQ(peer.receive(), "AreThere");
    }

    SOCKET own = INVALID_SOCKET;
    DatagramPeer peer;
    std::array<char, 300> buffer{};
};

/// What WSAGetLastError tells of a call that failed, whose result is SOCKET_ERROR or INVALID_SOCKET.
template <typename Result>
int errorOf(Result result) {
    EXPECT_EQ(result, static_cast<Result>(SOCKET_ERROR));
    return WSAGetLastError();
}

} // namespace

TEST(WinsockStartup, IsCounted) {
    WSADATA data{};
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
    EXPECT_EQ(WSAStartup(0x0202, &data), 0);
    EXPECT_EQ(WSACleanup(), 0);
    EXPECT_EQ(closesocket(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)), 0);
    EXPECT_EQ(WSACleanup(), 0);
    EXPECT_EQ(errorOf(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)), 10093);
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

TEST_F(Winsock, TellsATimeOutAfterTheTimeSet) {
    expectTimeOut();
}

TEST_F(Winsock, TellsATimeOutNoLaterAmidstSignals) {
    const SignalStorm storm;
    expectTimeOut();
    EXPECT_GT(storm.handled(), 0);
}

TEST_F(Winsock, WaitsWithoutEndWhereNoTimeOutIsSetAmidstSignals) {
    ASSERT_EQ(setTimeout(1), 0);
    ASSERT_EQ(setTimeout(0), 0);
    ask();
    const SignalStorm storm;
    std::thread answering([&] {
        storm.awaitMore(3);
        peer.answer("late");
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
        ask();
        peer.answer(datagram);
        EXPECT_EQ(receive(), received);
        EXPECT_STREQ(buffer.data(), text.c_str());
    }
}

TEST_F(Winsock, TellsTheSenderInWindowsShape) {
    ask();
    peer.answer("here");
    sockaddr_in from{};
    int fromLength = sizeof from;
    EXPECT_EQ(receive(&from, &fromLength), 4);
    EXPECT_EQ(fromLength, 16);
    const auto port = static_cast<unsigned>(peer.port());
    const std::array<unsigned, 8> expected{2, 0, port >> 8, port & 0xFF, 127, 0, 0, 1};
    for (std::size_t at = 0; at < expected.size(); ++at)
        EXPECT_EQ(reinterpret_cast<const unsigned char*>(&from)[at], expected[at]) << at;
}

TEST_F(Winsock, BroadcastsWhileAnOptionOfOneByteOrFourIsNotZero) {
    DatagramPeer everybody("0.0.0.0");
    const auto broadcast = [&] { return send("query", everybody.port(), "127.255.255.255"); };
    EXPECT_EQ(errorOf(broadcast()), 10013);
    for (const auto& [on, off] : {std::pair("y"sv, "\0"sv), {"\0\0\0\1"sv, "\0\0\0\0"sv}}) {
        EXPECT_EQ(set(SO_BROADCAST, on), 0);
        EXPECT_EQ(broadcast(), 5);
        EXPECT_EQ(everybody.receive(), "query");
        EXPECT_EQ(set(SO_BROADCAST, off), 0);
        EXPECT_EQ(errorOf(broadcast()), 10013);
    }
}

TEST_F(Winsock, RefusesWhatItCannotDo) {
    EXPECT_EQ(errorOf(socket(otherFamily, SOCK_DGRAM, IPPROTO_UDP)), 10047);
    EXPECT_EQ(errorOf(socket(AF_INET, 1, IPPROTO_UDP)), 10044);
    EXPECT_EQ(errorOf(socket(AF_INET, SOCK_DGRAM, 6)), 10043);

    sockaddr_in place{};
    int tooSmall = 15;
    EXPECT_EQ(errorOf(receive(&place, nullptr)), 10014);
    EXPECT_EQ(errorOf(receive(&place, &tooSmall)), 10014);
    EXPECT_EQ(errorOf(receive(nullptr, nullptr, -1)), 10022);
    EXPECT_EQ(errorOf(receive(nullptr, nullptr, 256, 1)), 10045);

    place.sin_family = AF_INET;
    const auto* const address = reinterpret_cast<const sockaddr*>(&place);
    EXPECT_EQ(errorOf(sendto(own, "x", 1, 0, nullptr, 16)), 10014);
    EXPECT_EQ(errorOf(sendto(own, "x", 1, 0, address, 15)), 10014);
    EXPECT_EQ(errorOf(sendto(own, "x", 1, 1, address, 16)), 10045);
    EXPECT_EQ(errorOf(sendto(own, "x", -1, 0, address, 16)), 10022);
    place.sin_family = otherFamily;
    EXPECT_EQ(errorOf(sendto(own, "x", 1, 0, address, 16)), 10047);
    EXPECT_EQ(errorOf(send(std::string(66'000, 'x'), 9)), 10040);

    EXPECT_EQ(errorOf(set(0x0004, "yyyy")), 10042);
    EXPECT_EQ(errorOf(setsockopt(own, 1, SO_BROADCAST, "yyyy", 4)), 10042);
    EXPECT_EQ(errorOf(set(SO_RCVTIMEO, "yyy")), 10014);
    EXPECT_EQ(errorOf(setsockopt(own, SOL_SOCKET, SO_RCVTIMEO, nullptr, 4)), 10014);
    for (const int length : {0, INT_MIN})
        EXPECT_EQ(errorOf(setsockopt(own, SOL_SOCKET, SO_BROADCAST, "y", length)), 10014);
    EXPECT_EQ(errorOf(setsockopt(own, SOL_SOCKET, SO_BROADCAST, nullptr, 1)), 10014);
}

TEST_F(Winsock, TellsASocketThatIsNone) {
    const SOCKET open = own;
    for (const SOCKET none : {INVALID_SOCKET, SOCKET{1'000'000}, SOCKET{0x1'0000'0000}}) {
        own = none;
        EXPECT_EQ(errorOf(receive()), 10038);
        EXPECT_EQ(errorOf(send("x", 9)), 10038);
        EXPECT_EQ(errorOf(setTimeout(1)), 10038);
        EXPECT_EQ(errorOf(closesocket(none)), 10038);
    }
    own = open;
}

TEST_F(Winsock, ClosesTheSocketOnceAndKeepsAnErrorForTheThreadThatHadIt) {
    const std::size_t before = TestSupport::openDescriptors();
    const SOCKET other = socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(closesocket(other), 0);
    EXPECT_EQ(TestSupport::openDescriptors(), before);
    SetLastError(0);
    std::thread([other] {
        EXPECT_EQ(WSAGetLastError(), 0);
        EXPECT_EQ(errorOf(closesocket(other)), 10038);
    }).join();
    EXPECT_EQ(WSAGetLastError(), 0);
}

TEST(WinsockAddresses, AreReadInDottedDecimalAlone) {
    in_addr address{};
    EXPECT_EQ(inet_pton(AF_INET, "10.1.2.200", &address), 1);
    for (const char* const text :
         {"", "10.1.2", "10.1.2.256", "10.1.2.3.4", "10.1.2.3 ", "0x0a.1.2.3", "::1"})
        EXPECT_EQ(inet_pton(AF_INET, text, &address), 0) << text;
    EXPECT_EQ(std::memcmp(&address, "\x0A\x01\x02\xC8", 4), 0);
    EXPECT_EQ(errorOf(inet_pton(otherFamily, "::1", &address)), 10047);
    EXPECT_EQ(errorOf(inet_pton(AF_INET, nullptr, &address)), 10014);
}

TEST(WinsockAddresses, AreWrittenWhereThereIsRoom) {
    const unsigned char address[] = {10, 1, 2, 200};
    std::array<char, 64> text{};
    EXPECT_EQ(inet_ntop(AF_INET, address, text.data(), 11), text.data());
    EXPECT_STREQ(text.data(), "10.1.2.200");
    const auto error = [&text](int family, const void* from, std::size_t room) {
        EXPECT_EQ(inet_ntop(family, from, text.data(), room), nullptr);
        return WSAGetLastError();
    };
    EXPECT_EQ(error(AF_INET, address, 10), 87);
    EXPECT_EQ(error(AF_INET, nullptr, 64), 87);
    EXPECT_EQ(error(otherFamily, address, 64), 10047);
}
