// Connections pass what the peer does on in the world's time, also to the host's own client.

#include "Camera/BinarySession.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Platform/TcpSocket.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <string>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using Simulator::CloseConnection;
using Simulator::Pause;
using Simulator::ResetConnection;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace World {
namespace {

struct Connection : ::testing::Test {
    Stage world;
    Peer& peer = world.at("10.0.0.5", 80);
    Platform::TcpSocket socket;

    void open() { ASSERT_EQ(socket.open("10.0.0.5", 80, 5s).status, SocketStatus::done); }
    /// Sends one byte, for which the peer does `actions`.
    void askFor(Actions actions) {
        if (!socket.isOpen())
            open();
        peer.act(std::move(actions));
        ASSERT_EQ(socket.send("?", 1, 10s).status, SocketStatus::done);
    }
    /// What comes within `patience`, at most `count` bytes: its text, or how the receive ended.
    std::string receive(std::size_t count, Duration patience = 1s) {
        std::string text(count, '\0');
        const SocketResult result = socket.receive(text.data(), count, now() + patience);
        constexpr const char* endings[] = {"", "timed out", "closed", "failed: "};
        return result.status == SocketStatus::done
                   ? text.substr(0, result.bytes)
                   : endings[static_cast<int>(result.status)] +
                         (result.status == SocketStatus::failed ? result.reason : "");
    }
};

Simulator::Action text(const std::string& bytes) {
    return sending(Bytes(bytes.begin(), bytes.end()));
}

TEST_F(Connection, PassesBytesOnAndNotesEachCall) {
    askFor({text("one"), text("two")});
    EXPECT_EQ(receive(4), "onet");
    EXPECT_EQ(receive(4), "wo");
    EXPECT_EQ(elapsed(), 0s);
    socket.close();
    EXPECT_THAT(world.calls.lines(),
                ElementsAre("connect 10.0.0.5:80 5000", "send 10.0.0.5:80 \"?\"", "receive 10.0.0.5:80 4",
                            "receive 10.0.0.5:80 4", "close 10.0.0.5:80"));
    EXPECT_THAT(peer.texts(), ElementsAre("?"));
}

TEST_F(Connection, DeliversWhenItIsTimeAndNotBefore) {
    askFor({Pause{100ms}, text("late"), Pause{50ms}, text("later")});
    EXPECT_EQ(receive(9, 99ms), "timed out");
    EXPECT_EQ(elapsed(), 99ms);
    EXPECT_EQ(receive(9), "late");
    EXPECT_EQ(elapsed(), 100ms);
    advance(50ms);
    EXPECT_EQ(receive(9, -1s), "later") << "a deadline that is past only looks";
}

TEST_F(Connection, CountsPausesFromTheRequest) {
    askFor({text("a")});
    EXPECT_EQ(receive(1), "a");
    advance(1h);
    askFor({Pause{10ms}, text("b")});
    EXPECT_EQ(receive(1, 9ms), "timed out");
    EXPECT_EQ(receive(1, 1ms), "b");
}

TEST_F(Connection, DeliversInPiecesThatPileUpUntilSomebodyReads) {
    open();
    askFor({sendingInPieces({'a', 'b', 'c', 'd', 'e'}, 2, 10ms)});
    EXPECT_EQ(receive(9), "ab");
    advance(10ms);
    EXPECT_EQ(receive(1), "c");
    EXPECT_EQ(receive(9), "d");
    EXPECT_EQ(receive(9), "e");
    EXPECT_EQ(elapsed(), 20ms);
}

TEST_F(Connection, GoesOnEndlesslyAMillisecondApart) {
    askFor({sendingEndlessly({'x', 'y'})});
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(receive(9), "xy");
    EXPECT_EQ(elapsed(), 2ms);
}

/// Answers each request without end.
class Endless final : public Simulator::Session {
public:
    explicit Endless(int& answered) : answered_(answered) {}
    void append(Simulator::ByteView) override { ++waiting_; }
    std::optional<Simulator::Reaction> next() override {
        if (waiting_ == 0)
            return std::nullopt;
        --waiting_;
        ++answered_;
        return Simulator::Reaction{{sendingEndlessly({'x'})}, {}};
    }
    std::size_t waitingBytes() const override { return 0; }

private:
    int& answered_;
    int waiting_ = 0;
};

TEST_F(Connection, AsksASessionForItsNextAnswerWhenTheOneBeforeIsDone) {
    int answered = 0;
    world.network.serve("10.0.0.5", 80, [&] { return std::make_unique<Endless>(answered); });
    open();
    for (int request = 0; request < 2; ++request) {
        socket.send("?", 1, 10s);
        EXPECT_EQ(receive(1), "x");
    }
    EXPECT_EQ(answered, 1);
}

TEST_F(Connection, EndsBehindWhatWasSent) {
    askFor({text("end"), Pause{5ms}, CloseConnection{}});
    EXPECT_EQ(receive(9), "end");
    EXPECT_EQ(receive(9), "closed");
    EXPECT_EQ(elapsed(), 5ms);
    open();
    askFor({text("end"), ResetConnection{}});
    EXPECT_EQ(receive(9), "end");
    EXPECT_EQ(receive(9), "failed: Connection reset by peer");
    EXPECT_EQ(socket.send("?", 1, 1s).reason, "Connection reset by peer");
}

TEST_F(Connection, MayBeGreetedAndLeavesARequestUnanswered) {
    peer.greet({text("hello")});
    open();
    EXPECT_EQ(receive(9), "hello");
    askFor({});
    EXPECT_EQ(receive(9, 2s), "timed out");
    EXPECT_EQ(elapsed(), 2s);
}

TEST_F(Connection, TakesNoMoreThanThereIsRoomFor) {
    world.network.serve(
        "10.0.0.5", 80, [this] { return peer.accept(); }, 5);
    open();
    EXPECT_EQ(socket.send("1234", 4, 10s).status, SocketStatus::done);
    const SocketResult stalled = socket.send("5678", 4, 10s);
    EXPECT_EQ(stalled.status, SocketStatus::timedOut);
    EXPECT_EQ(stalled.bytes, 1u);
    EXPECT_EQ(elapsed(), 10s);
}

TEST_F(Connection, IsRefusedWhereNobodyIs) {
    EXPECT_EQ(socket.open("10.0.0.6", 80, 5s).reason, "Connection refused");
    EXPECT_FALSE(socket.isOpen());
    world.at("", 80);
    EXPECT_EQ(socket.open("10.0.0.6", 80, 5s).status, SocketStatus::done);
}

TEST_F(Connection, FailsWithTheErrorThatWasPlanned) {
    world.calls.fail("connect", ETIMEDOUT);
    EXPECT_EQ(socket.open("10.0.0.5", 80, 5s).status, SocketStatus::timedOut);
    EXPECT_EQ(elapsed(), 5s);
    world.calls.fail("connect", EHOSTUNREACH);
    EXPECT_EQ(socket.open("10.0.0.5", 80, 5s).reason, "No route to host");
    open();
    world.calls.fail("send", ECONNRESET);
    EXPECT_EQ(socket.send("?", 1, 1s).reason, "Connection reset by peer");
    world.calls.fail("receive", EIO, 2);
    askFor({text("x")});
    EXPECT_EQ(receive(1), "x");
    EXPECT_EQ(receive(1), "failed: Input/output error");
}

TEST_F(Connection, DropsWhatIsUnreadAsTheProductDoes) {
    askFor({text("old"), Pause{19ms}, text("tail"), Pause{21ms}, text("new")});
    const SocketResult dropped = socket.discardUnread(20ms, {std::size_t{1} << 20, 3s});
    EXPECT_EQ(dropped.bytes, 7u);
    EXPECT_EQ(receive(9), "new");
}

TEST_F(Connection, OfASimulatedCameraAnswersAsItDoes) {
    Simulator::Camera camera{Simulator::CameraSettings{}};
    world.network.serve("10.0.0.5", 81, [&] { return std::make_unique<Simulator::BinarySession>(camera); });
    PosixEthernetCommunicator client(L"10.0.0.5", 81, -1);
    const Connector hold(client);
    const Bytes probe = message({{4, {0}}});
    client.writeBytes(probe.data(), static_cast<unsigned int>(probe.size()), true, 1);
    Bytes answer(13);
    EXPECT_EQ(client.readBytes(answer.data(), 13, 1, 100), 13);
    EXPECT_EQ(answer, done());
}

TEST_F(Connection, OfTheHostsClientTakesTheTimeThatTheHostAllows) {
    PosixEthernetCommunicator client(L"10.0.0.5", 80, -1);
    EXPECT_THAT(world.communicators, ::testing::SizeIs(1));
    {
        const Connector hold(client);
        EXPECT_THAT(world.network.openConnections(), ElementsAre("10.0.0.5:80"));
        std::array<char, 64> bytes{};
        peer.act({sendingInPieces({'a', 'b', 'c'}, 1, 15ms), Pause{25ms}, text("d")});
        client.writeBytes("?", 1, true, 1);
        EXPECT_EQ(client.readBytes(bytes.data(), 64, 1, 4000), 3) << "until the line is quiet for 20 ms";
        EXPECT_EQ(elapsed(), 50ms);
        EXPECT_EQ(client.readBytes(bytes.data(), 6, 1, 1000), 1) << "a header is waited for";
        EXPECT_EQ(elapsed(), 1050ms);
    }
    EXPECT_THAT(world.network.openConnections(), IsEmpty());
    world.calls.fail("connect", ETIMEDOUT);
    EXPECT_THROW(Connector{client}, DeviceException);
    EXPECT_EQ(elapsed(), 1050ms + 5s);
}

} // namespace
} // namespace World
