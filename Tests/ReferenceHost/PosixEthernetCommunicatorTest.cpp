// The host's client over the world's sockets: its pieces, its quiet times and its time-outs are its own.

#include "EthernetClient.h"

#include "FakeCamera.h"

#include <cerrno>
#include <limits>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

using namespace std::chrono_literals;
using Simulator::CloseConnection;
using Simulator::Pause;
using testing::ElementsAre;
using Tests::text;
using World::elapsed;
using EthernetConnect = Tests::EthernetClient;
using EthernetWrite = Tests::EthernetClient;
using EthernetRead = Tests::EthernetClient;
using EthernetProgress = Tests::EthernetClient;

namespace {

constexpr std::size_t piece = 65536;
const std::string timedOut = "connect failed: Connection timed out";
const std::string closedByPeer = "failed: Connection closed by the peer";

std::string patternOf(std::size_t count) {
    std::string pattern(count, '\0');
    for (std::size_t at = 0; at < count; ++at)
        pattern[at] = static_cast<char>(at % 251);
    return pattern;
}

} // namespace

TEST_F(EthernetConnect, IsMadeForTheFirstHoldAndEndsWithTheLastInAnyOrder) {
    auto first = std::make_unique<Connector>(client);
    auto second = std::make_unique<Connector>(client);
    first.reset();
    EXPECT_TRUE(client.isConnected());
    second.reset();
    EXPECT_FALSE(client.isConnected());
    EXPECT_THAT(world.calls.lines(),
                ElementsAre("new 10.0.0.5:80 -1", "connect 10.0.0.5:80 5000", "close 10.0.0.5:80"));
}

TEST_F(EthernetConnect, ThatFailsHoldsNothing) {
    world.calls.fail("connect", EHOSTUNREACH);
    EXPECT_EQ(failureOfConnect(client), "connect failed: No route to host");
    { const Connector hold(client); }
    EXPECT_FALSE(client.isConnected());
}

TEST_F(EthernetConnect, EndsAtItsTimeOutAndAfterFiveSecondsByDefault) {
    static_assert(PosixEthernetCommunicator::defaultConnectTimeoutMs == 5000);
    world.calls.failAlways("connect", ETIMEDOUT);
    EXPECT_EQ(failureOfConnect(client), timedOut);
    EXPECT_EQ(elapsed(), 5s);
    PosixEthernetCommunicator impatient(L"10.0.0.5", 80, 40);
    EXPECT_EQ(failureOfConnect(impatient), timedOut);
    EXPECT_EQ(elapsed(), 5s + 40ms);
}

TEST_F(EthernetConnect, IsRefusedByNobodyThereAndForWhatIsNoPort) {
    for (const int port : {-1, 0, 65536, std::numeric_limits<int>::max()}) {
        PosixEthernetCommunicator other(L"10.0.0.5", port, -1);
        EXPECT_EQ(failureOfConnect(other),
                  "10.0.0.5:" + std::to_string(port) + ": connect failed: A port is 1 to 65535");
    }
    PosixEthernetCommunicator highest(L"10.0.0.5", 65535, -1);
    EXPECT_EQ(failureOfConnect(highest), "10.0.0.5:65535: connect failed: Connection refused");
    EXPECT_FALSE(highest.isConnected());
}

TEST_F(EthernetConnect, IsMadeAnewBelowAnOuterHoldThatKeepsIt) {
    peer.greet({CloseConnection{}});
    const Connector outer(client);
    EXPECT_EQ(failureOfRead(), "receive " + closedByPeer);
    EXPECT_FALSE(client.isConnected());
    peer.greet({text("again")});
    { const Connector inner(client); }
    EXPECT_EQ(read(5), "again");
}

TEST_F(EthernetConnect, IsWhatADeviceIsAliveBy) {
    Tests::FakeCamera camera;
    EXPECT_FALSE(camera.isAlive());
    camera.setCommunicator(new PosixEthernetCommunicator(L"10.0.0.5", 80, -1));
    EXPECT_TRUE(camera.isAlive());
    EXPECT_THAT(world.network.openConnections(), ElementsAre());
    world.calls.fail("connect", ECONNREFUSED);
    EXPECT_FALSE(camera.isAlive());
}

TEST_F(EthernetWrite, SendsAllInPieces) {
    const Connector hold(client);
    const std::string sent = patternOf(3 * 4096 + 5);
    write(sent, true);
    EXPECT_THAT(peer.texts(), ElementsAre(sent.substr(0, 4096), sent.substr(4096, 4096),
                                          sent.substr(8192, 4096), sent.substr(12288)));
}

TEST_F(EthernetWrite, DropsUnreadInputAndItsTailIfToldTo) {
    peer.greet({text("stale"), Pause{20ms}, text("tail")}).say("fresh").say("fresh");
    for (const auto& [discard, due] : {std::pair(true, "fresh"), std::pair(false, "taletailfresh")}) {
        const Connector hold(client);
        ASSERT_EQ(read(1), "s");
        write("?", discard);
        EXPECT_EQ(read(17), due);
    }
}

TEST_F(EthernetWrite, BoundsWhatItDropsOfAPeerThatNeverEnds) {
    for (const auto& [sent, each, time] :
         {std::tuple(std::size_t{3500}, std::size_t{1}, 3000ms), std::tuple(1100 * piece, piece, 1023ms)}) {
        peer.greet({World::sendingInPieces(World::Bytes(sent), each, 1ms)});
        const Connector hold(client);
        const auto begin = elapsed();
        write("?", true);
        EXPECT_EQ(elapsed() - begin, time) << "3 s, or 64 MiB";
        EXPECT_TRUE(client.isConnected());
    }
    EXPECT_THAT(peer.texts(), ElementsAre("?", "?"));
}

TEST_F(EthernetWrite, ThatFailsClosesTheConnection) {
    peer.greet({text("stale"), CloseConnection{}});
    world.calls.fail("send", EPIPE);
    for (const auto& [discards, reason] :
         {std::pair(true, closedByPeer), std::pair(false, std::string("failed: Broken pipe"))}) {
        const Connector hold(client);
        EXPECT_EQ(failureOfWrite(discards), "send " + reason);
        EXPECT_FALSE(client.isConnected());
    }
}

TEST_F(EthernetWrite, EndsWhereTheDeviceTakesNothingForTenSeconds) {
    giveRoomFor(5000);
    const Connector hold(client);
    EXPECT_EQ(failureOfWrite(true, 8192), "send failed: Connection timed out");
    EXPECT_EQ(elapsed(), 10s);
}

TEST_F(EthernetRead, GivesWhatComesWhileItWaits) {
    const World::Actions throughAPause{text("abc"), Pause{4s}, text("defghijklmnop")};
    const World::Actions drip{World::sendingInPieces(World::Bytes(100, 'x'), 1, 10ms)};
    const World::Actions much{text(std::string(3 * piece, 'x'))};
    const std::string onePiece(piece, 'x');
    struct Row {
        const char* what;
        World::Actions comes;
        unsigned int count;
        unsigned int timeoutMs;
        std::string text;
        World::Duration time;
    };
    for (const auto& [what, comes, count, timeoutMs, due, time] : {
             Row{"a header through a pause", throughAPause, 6, 5000, "abcdef", 4s},
             Row{"sixteen bytes through a pause", throughAPause, 16, 5000, "abcdefghijklmnop", 4s},
             Row{"more until the line is quiet for 20 ms", throughAPause, 17, 5000, "abc", 20ms},
             Row{"more through a shorter pause", {text("a"), Pause{20ms}, text("b")}, 17, 5000, "ab", 40ms},
             Row{"more after a longer wait for the first", {Pause{4s}, text("abc")}, 17, 5000, "abc", 4020ms},
             Row{"no more than asked for", {text("abcdef")}, 4, 5000, "abcd", 0ms},
             Row{"nothing of a header in its time", {}, 6, 30, "", 30ms},
             Row{"nothing of more in its time", {}, 100, 30, "", 30ms},
             Row{"what came of a header in its time", {text("abc")}, 6, 40, "abc", 40ms},
             Row{"a drip until its time counted from its start", drip, 16, 55, "xxxxxx", 55ms},
             Row{"more of a drip until its time", drip, 100, 55, "xxxxxx", 55ms},
             Row{"one piece of what is there without time", much, 3 * piece, 0, onePiece, 0ms},
         }) {
        SCOPED_TRACE(what);
        peer.greet(comes);
        const Connector hold(client);
        const auto begin = elapsed();
        EXPECT_TRUE(read(count, timeoutMs) == due);
        EXPECT_EQ(elapsed() - begin, time);
        EXPECT_TRUE(client.isConnected());
    }
}

TEST_F(EthernetRead, LeavesTheRestForTheNext) {
    peer.greet({text("abcdef"), Pause{21ms}, text("rest")});
    const Connector hold(client);
    std::string buffer = "??????";
    EXPECT_EQ(client.readBytes(buffer.data(), 4, 1, 0), 4);
    EXPECT_EQ(buffer, "abcd??");
    EXPECT_EQ(read(17), "ef");
    EXPECT_EQ(read(4), "rest");
}

TEST_F(EthernetRead, GoesOnPieceByPieceUntilTheCountIsReached) {
    const std::string sent = patternOf(2 * piece + 5);
    peer.greet({text(sent)});
    const Connector hold(client);
    EXPECT_TRUE(read(2 * piece + 5) == sent);
    EXPECT_THAT(world.calls.of("receive"), ElementsAre("receive 10.0.0.5:80 65536",
                                                       "receive 10.0.0.5:80 65536", "receive 10.0.0.5:80 5"));
}

TEST_F(EthernetRead, ReturnsWhatCameBeforeTheEndAndThenThrowsTheReasonAgainAndAgain) {
    const World::Actions reset{Simulator::ResetConnection{}};
    for (const auto& [comes, count, due, reason] :
         {std::tuple(World::Actions{text("abc"), CloseConnection{}}, 6U, "abc", closedByPeer),
          std::tuple(World::Actions{text("abc"), CloseConnection{}}, 100U, "abc", closedByPeer),
          std::tuple(reset, 0U, "", std::string("failed: Connection reset by peer"))}) {
        peer.greet(comes);
        const Connector hold(client);
        EXPECT_EQ(read(count), due);
        for (int time = 0; time < 2; ++time) {
            EXPECT_EQ(failureOfRead(), "receive " + reason);
            EXPECT_FALSE(client.isConnected());
        }
        EXPECT_EQ(failureOfWrite(true), "send " + reason);
    }
    EXPECT_EQ(failureOfRead(), "receive failed: Not connected") << "forgotten with its hold";
    EXPECT_EQ(failureOfWrite(false, 0), "send failed: Not connected");
}

TEST_F(EthernetProgress, IsReportedEvery64KiBEveryTenthOfASecondAndAtTheEnd) {
    using Reports = std::vector<std::size_t>;
    const std::size_t large = 2 * piece + 5;
    const World::Actions pieces{World::sendingInPieces(World::Bytes(large), piece - 1, 1ms)};
    for (const auto& [comes, count, due] : {
             std::tuple(pieces, large, Reports{2 * (piece - 1), large}),
             std::tuple(World::Actions{text("abc")}, std::size_t{3}, Reports{3}),
             std::tuple(World::Actions{text("abc")}, std::size_t{17}, Reports{3}), // less than asked for
             std::tuple(World::Actions{Pause{1001ms}, text("abc")}, std::size_t{3},
                        Reports{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3}),
         }) {
        Reports reports;
        client.setProgressObserver([&reports, all = count](std::size_t received, std::size_t expected) {
            reports.push_back(received);
            EXPECT_EQ(expected, all);
        });
        peer.greet(comes);
        const Connector hold(client);
        read(static_cast<unsigned int>(count));
        EXPECT_EQ(reports, due);
    }
}

TEST_F(EthernetProgress, EndsTheReadByWhatTheObserverThrowsUntilItIsRemoved) {
    struct Cancelled {};
    peer.greet({text("abcdef")});
    client.setProgressObserver([](std::size_t, std::size_t) { throw Cancelled(); });
    const Connector hold(client);
    EXPECT_THROW(read(3), Cancelled);
    client.setProgressObserver({});
    EXPECT_EQ(read(3), "def") << "the connection goes on";
}

TEST_F(EthernetProgress, TellsTheBytesOfEachReadUntilTheObserverIsRemoved) {
    std::string heard;
    client.setReadObserver([&heard](const unsigned char* data, std::size_t count) {
        heard.append(reinterpret_cast<const char*>(data), count).append("|");
    });
    peer.greet({text("abcdef")});
    const Connector hold(client);
    read(1);
    read(3);
    client.setReadObserver({});
    read(2);
    EXPECT_EQ(heard, "a|bcd|");
}
