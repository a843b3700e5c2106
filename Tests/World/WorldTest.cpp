// What tests rely on in their world: the recorder of calls, and the time in which connections pass. A call
// that does not fail as planned is seen by the tests that plan it, and late datagrams by the fault matrix.

#include "Platform/TcpSocket.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <string>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using Simulator::Pause;
using Simulator::ResetConnection;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace World {
namespace {

TEST(Calls, AreKeptInOrderAndFoundByTheirFirstWords) {
    Calls calls;
    for (const char* const line : {"send 10.0.0.5:1 3 bytes", "sendto 1", "send 10.0.0.6:1 3 bytes", "close"})
        EXPECT_EQ(calls.enter(line), std::nullopt);
    EXPECT_THAT(calls.of("send"), ElementsAre("send 10.0.0.5:1 3 bytes", "send 10.0.0.6:1 3 bytes"));
    EXPECT_THAT(calls.of({"send 10.0.0.6", "close"}), ElementsAre("send 10.0.0.6:1 3 bytes", "close"));
    EXPECT_THAT(calls.of("sen"), IsEmpty());
}

TEST(Calls, FailOnceAtTheirNumberFromNowOnOrEachTimeUntilNoMore) {
    Calls calls;
    calls.enter("send");
    calls.fail("send", 104, 2);
    calls.failAlways("conversion", 7);
    EXPECT_EQ(calls.enter("send"), std::nullopt);
    EXPECT_EQ(calls.enter("sendto"), std::nullopt);
    EXPECT_EQ(calls.enter("send 1"), 104);
    EXPECT_EQ(calls.enter("send 1"), std::nullopt);
    EXPECT_EQ(calls.lines().size(), 5u) << "a call that fails was made";
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(calls.planned("conversion"), 7);
    calls.failNoMore();
    EXPECT_EQ(calls.planned("conversion"), std::nullopt);
}

struct Sockets : ::testing::Test {
    Stage world;
    Platform::TcpSocket socket;

    Sockets() {
        world.at("10.0.0.5", 80);
        EXPECT_EQ(socket.open("10.0.0.5", 80, 5s).status, SocketStatus::done);
    }
    /// Sends one byte, for which the peer does `actions`.
    void askFor(Actions actions) {
        world.at("10.0.0.5", 80).act(std::move(actions));
        ASSERT_EQ(socket.send("?", 1, 10s).status, SocketStatus::done);
    }
    /// What comes within `patience`, at most `count` bytes: its text, or how the receive ended.
    std::string receive(std::size_t count, Duration patience = 1s) {
        std::string text(count, '\0');
        const SocketResult result = socket.receive(text.data(), count, now() + patience);
        return result.status == SocketStatus::done ? text.substr(0, result.bytes) : result.reason;
    }
};

Simulator::Action text(const std::string& bytes) {
    return sending(Bytes(bytes.begin(), bytes.end()));
}

TEST_F(Sockets, DeliverWhenItIsTimeAfterTheRequestAndNotBefore) {
    advance(1h);
    askFor({Pause{100ms}, text("late"), Pause{50ms}, text("later")});
    EXPECT_EQ(receive(9, 99ms), "Connection timed out");
    EXPECT_EQ(receive(9), "late");
    EXPECT_EQ(elapsed(), 1h + 100ms);
    advance(50ms);
    EXPECT_EQ(receive(9, -1s), "later") << "a deadline that is past only looks";
}

TEST_F(Sockets, DeliverInPiecesThatPileUpUntilSomebodyReads) {
    askFor({sendingInPieces({'a', 'b', 'c', 'd', 'e'}, 2, 10ms), sendingEndlessly({'x', 'y'})});
    EXPECT_EQ(receive(9), "ab");
    advance(10ms);
    EXPECT_EQ(receive(1), "c");
    EXPECT_EQ(receive(1), "d");
    for (const char* const piece : {"exy", "xy", "xy"})
        EXPECT_EQ(receive(9), piece);
    EXPECT_EQ(elapsed(), 22ms) << "what has no end comes a millisecond apart";
}

TEST_F(Sockets, AreResetBehindWhatWasSent) {
    askFor({text("end"), ResetConnection{}});
    EXPECT_EQ(receive(9), "end");
    EXPECT_EQ(socket.send("?", 1, 1s).reason, "Connection reset by peer");
}

} // namespace
} // namespace World
