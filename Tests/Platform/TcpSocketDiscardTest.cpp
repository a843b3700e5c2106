// What the socket drops is the same on every system, and so is tested over the world's: to the byte and the
// millisecond.

#include "Platform/TcpSocket.h"
#include "World/Stage.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using Platform::SocketResult;
using Platform::SocketStatus;
using Simulator::CloseConnection;
using Simulator::Pause;
using World::elapsed;

namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20;

struct TcpSocketDiscard : testing::Test {
    void connectTo(World::Actions greeting) {
        world.at("10.0.0.5", 80).greet(std::move(greeting));
        ASSERT_EQ(socket.open("10.0.0.5", 80, 5s).status, SocketStatus::done);
    }
    /// Drops bytes, with the ending and in the time told.
    std::size_t discard(World::Duration time, std::chrono::milliseconds quiet, std::size_t mostBytes,
                        std::chrono::milliseconds mostTime, SocketStatus status = SocketStatus::done) {
        const SocketResult result = socket.discardUnread(quiet, {mostBytes, mostTime});
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(elapsed(), time);
        return result.bytes;
    }
    std::string rest() {
        std::string text(64, '\0');
        text.resize(socket.receive(text.data(), text.size(), World::now()).bytes);
        return text;
    }

    World::Stage world;
    Platform::TcpSocket socket;
};

Simulator::Action bytes(std::size_t count) {
    return World::sending(World::Bytes(count, 'x'));
}

} // namespace

TEST_F(TcpSocketDiscard, AwaitsTheTailThatIsStillOnItsWay) {
    connectTo({bytes(5), Pause{20ms}, bytes(4), Pause{21ms}, bytes(3)});
    EXPECT_EQ(discard(20ms + 20ms, 20ms, megabyte, 5s), 9u);
    World::advance(1ms);
    EXPECT_EQ(rest(), "xxx");
}

TEST_F(TcpSocketDiscard, DoesNotWaitWhereNothingIsUnread) {
    connectTo({Pause{1ms}, bytes(1)});
    EXPECT_EQ(discard(0ms, 60s, megabyte, 60s), 0u);
}

TEST_F(TcpSocketDiscard, BoundsTheBytes) {
    connectTo({bytes(10)});
    EXPECT_EQ(discard(0ms, 5s, 4, 5s), 4u);
    EXPECT_EQ(rest(), "xxxxxx");
}

TEST_F(TcpSocketDiscard, BoundsTheTimeOfWhatDrips) {
    connectTo({World::sendingInPieces(World::Bytes(300), 1, 5ms)});
    EXPECT_EQ(discard(42ms, 5s, megabyte, 42ms), 9u);
}

TEST_F(TcpSocketDiscard, BoundsTheTimeThoughMoreIsThere) {
    connectTo({bytes(100'000)});
    EXPECT_EQ(discard(0ms, 5s, megabyte, 0ms), 16'384u);
}

TEST_F(TcpSocketDiscard, TellsThatThePeerHasClosed) {
    connectTo({bytes(5), CloseConnection{}});
    EXPECT_EQ(discard(0ms, 5s, megabyte, 5s, SocketStatus::closed), 5u);
}
