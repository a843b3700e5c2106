#include "Platform/TcpSocket.h"
#include "ScriptedNames.h"
#include "Support/LoopbackPeer.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using Platform::TcpSocket;
using TestSupport::FullBacklog;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

namespace {

const std::string loopback = "127.0.0.1";
constexpr std::size_t megabyte = std::size_t{1} << 20;

SocketResult openTo(TcpSocket& socket, int port, std::chrono::milliseconds timeout = 5s) {
    return socket.open(loopback, static_cast<std::uint16_t>(port), timeout);
}

/// Receives what comes within `time`, at most `most` bytes.
SocketResult receiveWithin(TcpSocket& socket, std::chrono::milliseconds time, std::string& text,
                           std::size_t most = 64) {
    text.assign(most, '\0');
    SocketResult result = socket.receive(text.data(), most, TcpSocket::Clock::now() + time);
    text.resize(result.bytes);
    return result;
}

int optionOf(int descriptor, int level, int name) {
    int value = 0;
    socklen_t length = sizeof value;
    getsockopt(descriptor, level, name, &value, &length);
    return value;
}

} // namespace

TEST(TcpSocket, ConnectsByAddressAndByName) {
    const LoopbackPeer peer({[](PeerConnection& client) { client.send("one"); },
                             [](PeerConnection& client) { client.send("two"); }});
    std::string text;
    TcpSocket socket;
    EXPECT_FALSE(socket.isOpen());
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    EXPECT_TRUE(socket.isOpen());
    receiveWithin(socket, 5s, text);
    EXPECT_EQ(text, "one");

    ASSERT_EQ(socket.open("localhost", static_cast<std::uint16_t>(peer.port()), 5s).status,
              SocketStatus::done);
    receiveWithin(socket, 5s, text);
    EXPECT_EQ(text, "two");
    socket.close();
    socket.close();
    EXPECT_FALSE(socket.isOpen());
}

TEST(TcpSocket, SendsWithoutDelayAndIsKeptAlive) {
    const LoopbackPeer peer([](PeerConnection&) {});
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    const int descriptor = TestSupport::socketConnectedTo(peer.port());
    ASSERT_GE(descriptor, 0);
    EXPECT_NE(optionOf(descriptor, IPPROTO_TCP, TCP_NODELAY), 0);
    EXPECT_NE(optionOf(descriptor, SOL_SOCKET, SO_KEEPALIVE), 0);
}

TEST(TcpSocket, TellsTheSystemsReasonOfARefusal) {
    TcpSocket socket;
    const SocketResult result = openTo(socket, TestSupport::refusingPort());
    EXPECT_EQ(result.status, SocketStatus::failed);
    EXPECT_EQ(result.reason, std::strerror(ECONNREFUSED));
    EXPECT_FALSE(socket.isOpen());
}

TEST(TcpSocket, EndsAConnectAtItsTimeOut) {
    const FullBacklog silent;
    TcpSocket socket;
    const Stopwatch stopwatch;
    const SocketResult result = openTo(socket, silent.port(), 40ms);
    EXPECT_EQ(result.status, SocketStatus::timedOut);
    EXPECT_EQ(result.reason, std::strerror(ETIMEDOUT));
    EXPECT_GE(stopwatch.elapsed(), 40ms);
    EXPECT_FALSE(socket.isOpen());
}

TEST(TcpSocket, TellsWhyANameDoesNotResolve) {
    TcpSocket socket;
    const SocketResult result = socket.open(TestSupport::unknownName, 1, 5s);
    EXPECT_EQ(result.status, SocketStatus::failed);
    EXPECT_EQ(result.reason, gai_strerror(EAI_NONAME));
    EXPECT_FALSE(socket.isOpen());
}

TEST(TcpSocket, TriesANamesAddressesOneAfterTheOther) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abc"); });
    TcpSocket socket;
    const SocketResult result =
        socket.open(TestSupport::twoAddressName, static_cast<std::uint16_t>(peer.port()), 5s);
    EXPECT_EQ(result.status, SocketStatus::done) << result.reason;
    std::string text;
    receiveWithin(socket, 5s, text);
    EXPECT_EQ(text, "abc");
}

TEST(TcpSocket, BoundsTheLookUpOfANameInTime) {
    TcpSocket socket;
    const Stopwatch stopwatch;
    const SocketResult result = socket.open(TestSupport::slowName, 1, 30ms);
    EXPECT_EQ(result.status, SocketStatus::timedOut);
    EXPECT_EQ(result.reason, "Name resolution timed out");
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    TestSupport::slowNameMayEnd().release();
}

TEST(TcpSocket, LeavesNoDescriptorBehind) {
    const std::size_t before = TestSupport::openDescriptors();
    {
        const LoopbackPeer peer({[](PeerConnection&) {}, [](PeerConnection&) {}});
        const FullBacklog silent;
        TcpSocket socket;
        openTo(socket, peer.port());
        openTo(socket, peer.port());
        TcpSocket refused;
        openTo(refused, TestSupport::refusingPort());
        TcpSocket late;
        openTo(late, silent.port(), 1ms);
    }
    EXPECT_EQ(TestSupport::openDescriptors(), before);
}

TEST(TcpSocket, SendsAllToAPeerThatTakesItLate) {
    std::string received;
    const std::string sent(4 * megabyte, 'x');
    {
        const LoopbackPeer peer([&](PeerConnection& client) {
            client.keepQuiet(30ms); // until the send waits for room, which nothing tells
            received = client.receive(sent.size());
        });
        TcpSocket socket;
        ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
        const SocketResult result = socket.send(sent.data(), sent.size(), 5s);
        EXPECT_EQ(result.status, SocketStatus::done);
        EXPECT_EQ(result.bytes, sent.size());
    }
    EXPECT_TRUE(received == sent);
}

TEST(TcpSocket, EndsASendThatThePeerDoesNotTake) {
    const LoopbackPeer peer([](PeerConnection&) {});
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    const std::string much(64 * megabyte, 'x');
    const Stopwatch stopwatch;
    const SocketResult result = socket.send(much.data(), much.size(), 30ms);
    EXPECT_EQ(result.status, SocketStatus::timedOut);
    EXPECT_EQ(result.reason, std::strerror(ETIMEDOUT));
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    EXPECT_LT(result.bytes, much.size());
}

TEST(TcpSocket, RaisesNoSignalWhereThePeerIsGone) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.receive(1);
        client.reset();
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    socket.send("?", 1, 5s);
    std::string text;
    EXPECT_EQ(receiveWithin(socket, 5s, text).reason, std::strerror(ECONNRESET));
    const SocketResult result = socket.send("x", 1, 5s);
    EXPECT_EQ(result.status, SocketStatus::failed);
    EXPECT_EQ(result.reason, std::strerror(EPIPE));
}

TEST(TcpSocket, ReceivesNoMoreThanAskedAndKeepsTheRest) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abcdef"); });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    EXPECT_EQ(receiveWithin(socket, 5s, text, 4).status, SocketStatus::done);
    EXPECT_EQ(text, "abcd");
    receiveWithin(socket, 5s, text);
    EXPECT_EQ(text, "ef");
}

TEST(TcpSocket, EndsAReceiveAtItsDeadline) {
    const LoopbackPeer peer([](PeerConnection&) {});
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    const Stopwatch stopwatch;
    EXPECT_EQ(receiveWithin(socket, 30ms, text).status, SocketStatus::timedOut);
    EXPECT_GE(stopwatch.elapsed(), 30ms);
    EXPECT_EQ(receiveWithin(socket, -1ms, text).status, SocketStatus::timedOut);
}

TEST(TcpSocket, LooksEvenWhereTheDeadlineIsPast) {
    std::promise<void> sent;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send("abc");
        sent.set_value();
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    sent.get_future().wait();
    std::string text;
    EXPECT_EQ(receiveWithin(socket, -1ms, text).status, SocketStatus::done);
    EXPECT_EQ(text, "abc");
}

TEST(TcpSocket, TellsThatThePeerHasClosed) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("abc");
        client.close();
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    EXPECT_EQ(receiveWithin(socket, 5s, text).status, SocketStatus::done);
    const SocketResult result = receiveWithin(socket, 5s, text);
    EXPECT_EQ(result.status, SocketStatus::closed);
    EXPECT_EQ(result.reason, "Connection closed by the peer");
}

TEST(TcpSocket, SurvivesInterruptionsBySignals) {
    const SignalStorm storm;
    const std::string large(4 * megabyte, 'x');
    std::string received;
    {
        const LoopbackPeer peer([&](PeerConnection& client) {
            storm.awaitMore(2);
            client.send("abc");
            storm.awaitMore(2);
            received = client.receive(large.size());
        });
        TcpSocket socket;
        ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
        std::string text;
        EXPECT_EQ(receiveWithin(socket, 5s, text).status, SocketStatus::done);
        EXPECT_EQ(text, "abc");
        EXPECT_EQ(socket.send(large.data(), large.size(), 5s).status, SocketStatus::done);
    }
    EXPECT_EQ(received.size(), large.size());
}

TEST(TcpSocket, SurvivesInterruptionsOfAConnect) {
    const FullBacklog silent;
    const SignalStorm storm;
    int connects = 0;
    do {
        TcpSocket socket;
        EXPECT_EQ(openTo(socket, silent.port(), 20ms).status, SocketStatus::timedOut);
    } while (storm.handled() == 0 && ++connects < 100);
    EXPECT_GT(storm.handled(), 0);
}

TEST(TcpSocket, DiscardsWhatIsUnread) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("stale");
        client.receive(1);
        client.send("fresh");
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    receiveWithin(socket, 5s, text, 1);
    const SocketResult result = socket.discardUnread(20ms, {megabyte, 5s});
    EXPECT_EQ(result.status, SocketStatus::done);
    EXPECT_EQ(result.bytes, 4u);
    socket.send("?", 1, 5s);
    receiveWithin(socket, 5s, text);
    EXPECT_EQ(text, "fresh");
}

TEST(TcpSocket, DiscardsTheTailThatIsStillOnItsWay) {
    std::promise<void> begun;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send("stale");
        begun.set_value();
        client.keepQuiet(30ms); // the quiet within which the tail is still awaited
        client.send("tail");
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    begun.get_future().wait();
    EXPECT_EQ(socket.discardUnread(5s, {9, 5s}).bytes, 9u);
}

TEST(TcpSocket, DoesNotWaitWhereNothingIsUnread) {
    const LoopbackPeer peer([](PeerConnection&) {});
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    const Stopwatch stopwatch;
    const SocketResult result = socket.discardUnread(60s, {megabyte, 60s});
    EXPECT_EQ(result.status, SocketStatus::done);
    EXPECT_EQ(result.bytes, 0u);
    EXPECT_LT(stopwatch.elapsed(), 30s);
}

TEST(TcpSocket, BoundsTheDiscardedBytes) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("0123456789"); });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    receiveWithin(socket, 5s, text, 1);
    const SocketResult result = socket.discardUnread(5s, {4, 5s});
    EXPECT_EQ(result.status, SocketStatus::done);
    EXPECT_EQ(result.bytes, 4u);
    receiveWithin(socket, 5s, text);
    EXPECT_EQ(text, "56789");
}

TEST(TcpSocket, BoundsTheTimeOfDiscarding) {
    constexpr int drops = 300;
    const LoopbackPeer peer([](PeerConnection& client) { client.drip("x", drops, 5ms); });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    receiveWithin(socket, 5s, text, 1);
    const SocketResult result = socket.discardUnread(5s, {megabyte, 40ms});
    EXPECT_EQ(result.status, SocketStatus::done);
    EXPECT_LT(result.bytes, std::size_t{drops} - 1);
}

TEST(TcpSocket, BoundsTheTimeOfDiscardingThoughMoreIsThere) {
    constexpr std::size_t waiting = 100'000;
    std::promise<void> sent;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send(std::string(waiting, 'x'));
        sent.set_value();
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    sent.get_future().wait();
    const SocketResult result = socket.discardUnread(5s, {megabyte, 0ms});
    EXPECT_EQ(result.status, SocketStatus::done);
    EXPECT_GT(result.bytes, 0u);
    EXPECT_LT(result.bytes, waiting);
}

TEST(TcpSocket, TellsWhileDiscardingThatThePeerHasClosed) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("stale");
        client.close();
    });
    TcpSocket socket;
    ASSERT_EQ(openTo(socket, peer.port()).status, SocketStatus::done);
    std::string text;
    receiveWithin(socket, 5s, text, 1);
    const SocketResult result = socket.discardUnread(5s, {megabyte, 5s});
    EXPECT_EQ(result.status, SocketStatus::closed);
    EXPECT_EQ(result.bytes, 4u);
}

TEST(TcpSocket, FailsWithAReasonWhereItIsNotOpen) {
    TcpSocket socket;
    std::string text;
    EXPECT_EQ(receiveWithin(socket, 5s, text).status, SocketStatus::failed);
    EXPECT_EQ(socket.send("x", 1, 5s).status, SocketStatus::failed);
    EXPECT_EQ(socket.discardUnread(5s, {megabyte, 5s}).reason, std::strerror(EBADF));
}
