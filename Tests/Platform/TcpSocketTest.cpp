#include "Platform/TcpSocket.h"
#include "ScriptedNames.h"
#include "Support/LoopbackPeer.h"

#include <future>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <sys/socket.h>
#include <tuple>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using std::chrono::milliseconds;
using TestSupport::FullBacklog;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20;

/// "done", or how it ended and why.
std::string told(const SocketResult& result) {
    constexpr const char* endings[] = {"done", "timed out: ", "closed: ", "failed: "};
    return endings[static_cast<int>(result.status)] + result.reason;
}

/// One socket and its peer on loopback.
struct TcpSocket : testing::Test {
    /// Connects to a peer that plays the scripts, this connection the first one.
    void connectTo(std::vector<LoopbackPeer::Script> scripts) {
        peer.emplace(std::move(scripts));
        ASSERT_EQ(open(peer->port()), "done");
    }
    void connectTo(LoopbackPeer::Script script) { connectTo(std::vector{std::move(script)}); }

    std::string open(int port, milliseconds timeout = 5s, const std::string& host = "127.0.0.1") {
        return told(socket.open(host, static_cast<std::uint16_t>(port), timeout));
    }
    /// The text that comes within `time`, at most `most` bytes, or why none came.
    std::string receive(milliseconds time = 5s, std::size_t most = 64) {
        std::string text(most, '\0');
        const SocketResult result =
            socket.receive(text.data(), most, Platform::TcpSocket::Clock::now() + time);
        return result.status == SocketStatus::done ? text.substr(0, result.bytes) : told(result);
    }
    SocketResult send(const std::string& text, milliseconds stall = 5s) {
        return socket.send(text.data(), text.size(), stall);
    }

    std::optional<LoopbackPeer> peer;
    Platform::TcpSocket socket;
};

void staySilent(PeerConnection&) {}

int optionOf(int descriptor, int level, int name) {
    int value = 0;
    socklen_t length = sizeof value;
    getsockopt(descriptor, level, name, &value, &length);
    return value;
}

} // namespace

TEST_F(TcpSocket, ConnectsByAddressAndByName) {
    EXPECT_FALSE(socket.isOpen());
    connectTo({[](PeerConnection& client) { client.send("one"); },
               [](PeerConnection& client) { client.send("two"); }});
    EXPECT_TRUE(socket.isOpen());
    EXPECT_EQ(receive(), "one");
    EXPECT_EQ(open(peer->port(), 5s, "localhost"), "done");
    EXPECT_EQ(receive(), "two");
    socket.close();
    socket.close();
    EXPECT_FALSE(socket.isOpen());
}

TEST_F(TcpSocket, SendsWithoutDelayAndIsKeptAlive) {
    connectTo(staySilent);
    const int descriptor = TestSupport::socketConnectedTo(peer->port());
    ASSERT_GE(descriptor, 0);
    EXPECT_NE(optionOf(descriptor, IPPROTO_TCP, TCP_NODELAY), 0);
    EXPECT_NE(optionOf(descriptor, SOL_SOCKET, SO_KEEPALIVE), 0);
}

TEST_F(TcpSocket, EndsAConnectAndALookUpInTimeWithTheReason) {
    const FullBacklog silent;
    const int refusing = TestSupport::refusingPort();
    for (const auto& [host, port, time, ending] : {
             std::tuple("127.0.0.1", refusing, 0ms, "failed: Connection refused"),
             std::tuple("127.0.0.1", silent.port(), 40ms, "timed out: Connection timed out"),
             std::tuple(TestSupport::unknownName, 1, 0ms, "failed: Name or service not known"),
             std::tuple(TestSupport::slowName, 1, 30ms, "timed out: Name resolution timed out"),
         }) {
        const Stopwatch stopwatch;
        EXPECT_EQ(open(port, time == 0ms ? 5s : time, host), ending);
        EXPECT_GE(stopwatch.elapsed(), time);
        EXPECT_FALSE(socket.isOpen());
    }
    TestSupport::slowNameMayEnd().release();
}

TEST_F(TcpSocket, TriesANamesAddressesOneAfterTheOther) {
    peer.emplace([](PeerConnection& client) { client.send("abc"); });
    EXPECT_EQ(open(peer->port(), 5s, TestSupport::twoAddressName), "done");
    EXPECT_EQ(receive(), "abc");
}

TEST_F(TcpSocket, LeavesNoDescriptorBehind) {
    const std::size_t before = TestSupport::openDescriptors();
    {
        const FullBacklog silent;
        connectTo({staySilent, staySilent});
        open(peer->port());
        Platform::TcpSocket other;
        for (const int port : {TestSupport::refusingPort(), silent.port()})
            other.open("127.0.0.1", static_cast<std::uint16_t>(port), 1ms);
        socket.close();
        peer.reset();
    }
    EXPECT_EQ(TestSupport::openDescriptors(), before);
}

TEST_F(TcpSocket, EndsASendThatThePeerDoesNotTake) {
    connectTo(staySilent);
    const Stopwatch stopwatch;
    const SocketResult result = send(std::string(64 * megabyte, 'x'), 30ms);
    EXPECT_EQ(told(result), "timed out: Connection timed out");
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    EXPECT_LT(result.bytes, 64 * megabyte);
}

TEST_F(TcpSocket, RaisesNoSignalWhereThePeerIsGone) {
    connectTo([](PeerConnection& client) {
        client.receive(1);
        client.reset();
    });
    send("?");
    EXPECT_EQ(receive(), "failed: Connection reset by peer");
    EXPECT_EQ(told(send("x")), "failed: Broken pipe");
}

TEST_F(TcpSocket, ReceivesNoMoreThanAskedAndKeepsTheRestUntilThePeerHasClosed) {
    connectTo([](PeerConnection& client) {
        client.send("abcdef");
        client.close();
    });
    EXPECT_EQ(receive(5s, 4), "abcd");
    EXPECT_EQ(receive(), "ef");
    EXPECT_EQ(receive(), "closed: Connection closed by the peer");
}

TEST_F(TcpSocket, EndsAReceiveAtItsDeadline) {
    connectTo(staySilent);
    const Stopwatch stopwatch;
    EXPECT_EQ(receive(30ms), "timed out: Connection timed out");
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    EXPECT_EQ(receive(-1ms), "timed out: Connection timed out");
}

TEST_F(TcpSocket, LooksEvenWhereTheDeadlineIsPast) {
    std::promise<void> sent;
    connectTo([&](PeerConnection& client) {
        client.send("abc");
        sent.set_value();
    });
    sent.get_future().wait();
    EXPECT_EQ(receive(-1ms), "abc");
}

TEST_F(TcpSocket, SendsAllToAPeerThatTakesItLateAndSurvivesInterruptionsBySignals) {
    const SignalStorm storm;
    std::string sent(4 * megabyte, 'x');
    for (std::size_t at = 0; at < sent.size(); at += 1000)
        sent[at] = static_cast<char>(at / 1000);
    std::string received;
    connectTo([&](PeerConnection& client) {
        storm.awaitMore(2);
        client.send("abc");
        storm.awaitMore(2);
        received = client.receive(sent.size());
    });
    EXPECT_EQ(receive(), "abc");
    const SocketResult result = send(sent);
    EXPECT_EQ(told(result), "done");
    EXPECT_EQ(result.bytes, sent.size());
    peer.reset();
    EXPECT_TRUE(received == sent);
}

TEST_F(TcpSocket, SurvivesInterruptionsOfAConnect) {
    const FullBacklog silent;
    const SignalStorm storm;
    int connects = 0;
    do
        EXPECT_EQ(open(silent.port(), 20ms), "timed out: Connection timed out");
    while (storm.handled() == 0 && ++connects < 100);
    EXPECT_GT(storm.handled(), 0);
}

TEST_F(TcpSocket, FailsWithAReasonWhereItIsNotOpen) {
    EXPECT_EQ(receive(), "failed: Bad file descriptor");
    EXPECT_EQ(told(send("x")), "failed: Bad file descriptor");
    EXPECT_EQ(told(socket.discardUnread(5s, {megabyte, 5s})), "failed: Bad file descriptor");
}
