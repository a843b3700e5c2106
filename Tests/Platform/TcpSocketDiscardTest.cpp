// What the socket drops is the same on every system, and so is tested over the world's: to the byte and the
// millisecond.

#include "Platform/TcpSocket.h"
#include "World/Stage.h"

#include <array>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using Platform::SocketStatus;
using Simulator::CloseConnection;
using Simulator::Pause;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t megabyte = std::size_t{1} << 20;
constexpr Platform::TcpSocket::DiscardBounds roomy{megabyte, 60s};

Simulator::Action bytes(std::size_t count) {
    return World::sending(World::Bytes(count));
}
Simulator::Action byteEach5ms(std::size_t count) {
    return World::sendingInPieces(World::Bytes(count), 1, 5ms);
}

/// What the peer sends, what may be dropped of it, and what comes of that.
struct Discard {
    const char* what;
    World::Actions sent;
    milliseconds quiet;
    Platform::TcpSocket::DiscardBounds bounds;
    std::size_t dropped, left;
    milliseconds time;
    SocketStatus status = SocketStatus::done;
};

const Discard discards[] = {
    {"awaits the tail", {bytes(5), Pause{20ms}, bytes(4), Pause{21ms}, bytes(3)}, 20ms, roomy, 9, 3, 40ms},
    {"waits for nothing", {Pause{1ms}, bytes(1)}, 60s, roomy, 0, 1, 0ms},
    {"drops so many bytes", {bytes(10)}, 5s, {4, 5s}, 4, 6, 0ms},
    {"goes on so long", {byteEach5ms(30)}, 5s, {megabyte, 42ms}, 9, 21, 42ms},
    {"goes on so long though more is there", {bytes(20'000)}, 5s, {megabyte, 0ms}, 16'384, 3'616, 0ms},
    {"ends with the peer", {bytes(5), CloseConnection{}}, 5s, roomy, 5, 0, 0ms, SocketStatus::closed},
};

} // namespace

TEST(TcpSocketDiscard, DropsTheTailWithinItsBoundsOfBytesAndTime) {
    for (const Discard& discard : discards) {
        SCOPED_TRACE(discard.what);
        World::Stage world;
        Platform::TcpSocket socket;
        world.at("10.0.0.5", 80).greet(discard.sent);
        ASSERT_EQ(socket.open("10.0.0.5", 80, 5s).status, SocketStatus::done);
        const auto result = socket.discardUnread(discard.quiet, discard.bounds);
        EXPECT_EQ(result.status, discard.status);
        EXPECT_EQ(result.bytes, discard.dropped);
        EXPECT_EQ(World::elapsed(), discard.time);
        World::advance(1s);
        std::array<char, 5'000> left{};
        EXPECT_EQ(socket.receive(left.data(), left.size(), World::now()).bytes, discard.left);
    }
}
