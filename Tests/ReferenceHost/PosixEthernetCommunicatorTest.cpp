#include "Communicator/PosixEthernetCommunicator.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Support/LoopbackPeer.h"

#include <cerrno>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <vector>

using namespace std::chrono_literals;
using TestSupport::FullBacklog;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;
using TestSupport::SignalStorm;
using TestSupport::Stopwatch;

namespace {

constexpr unsigned int patientMs = 5000;
constexpr std::size_t piece = 65536;

PosixEthernetCommunicator communicatorTo(int port, int connectTimeoutMs = 5000) {
    return {L"127.0.0.1", port, connectTimeoutMs};
}

std::string readText(Communicator& communicator, unsigned int count, unsigned int timeoutMs = patientMs) {
    std::string text(count, '?');
    const int received = communicator.readBytes(text.data(), count, 1, timeoutMs);
    text.resize(static_cast<std::size_t>(received));
    return text;
}

void write(Communicator& communicator, const std::string& text, bool discardUnread) {
    communicator.writeBytes(text.data(), static_cast<unsigned int>(text.size()), discardUnread, 1);
}

std::string messageTo(int port, const std::string& rest) {
    return "127.0.0.1:" + std::to_string(port) + ": " + rest;
}

/// The message of the DeviceException that `action` throws, or that it threw none.
template <class Action>
std::string messageOf(Action action) {
    try {
        action();
    } catch (const DeviceException& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

std::string patternOf(std::size_t count) {
    std::string text(count, '\0');
    for (std::size_t at = 0; at < count; ++at)
        text[at] = static_cast<char>(at % 251);
    return text;
}

} // namespace

TEST(EthernetConnect, TellsAddressAndPortAsGiven) {
    const PosixEthernetCommunicator communicator(L"camera-\u00E4.test", 32769, -1);
    EXPECT_EQ(communicator.getAddress(), L"camera-\u00E4.test");
    EXPECT_EQ(communicator.getPort(), 32769);
    EXPECT_FALSE(communicator.isConnected());
}

TEST(EthernetConnect, IsTheConnectors) {
    std::promise<void> closed;
    const LoopbackPeer peer([&](PeerConnection& client) {
        if (client.receive(1).empty())
            closed.set_value();
    });
    auto communicator = communicatorTo(peer.port());
    {
        const Connector outer(communicator);
        {
            const Connector inner(communicator);
            EXPECT_TRUE(communicator.isConnected());
        }
        EXPECT_TRUE(communicator.isConnected()) << "the outer hold keeps the connection";
    }
    EXPECT_FALSE(communicator.isConnected());
    EXPECT_EQ(closed.get_future().wait_for(5s), std::future_status::ready) << "the peer saw the end";
}

TEST(EthernetConnect, ThatIsRefusedNamesAddressPortOperationAndReason) {
    const int port = TestSupport::refusingPort();
    auto communicator = communicatorTo(port);
    EXPECT_EQ(messageOf([&] { const Connector hold(communicator); }),
              messageTo(port, std::string("connect failed: ") + std::strerror(ECONNREFUSED)));
    EXPECT_FALSE(communicator.isConnected());
}

TEST(EthernetConnect, EndsAtItsTimeOut) {
    const FullBacklog silent;
    auto communicator = communicatorTo(silent.port(), 40);
    const Stopwatch stopwatch;
    EXPECT_EQ(messageOf([&] { const Connector hold(communicator); }),
              messageTo(silent.port(), std::string("connect failed: ") + std::strerror(ETIMEDOUT)));
    EXPECT_GE(stopwatch.elapsed(), 40ms);
    EXPECT_FALSE(communicator.isConnected());
}

TEST(EthernetConnect, RefusesWhatIsNoPort) {
    for (const int port : {-1, 0, 65536, std::numeric_limits<int>::max()}) {
        auto communicator = communicatorTo(port);
        EXPECT_EQ(messageOf([&] { const Connector hold(communicator); }),
                  messageTo(port, "connect failed: A port is 1 to 65535"));
    }
}

TEST(EthernetConnect, IsMadeAnewBelowAnOuterHold) {
    const LoopbackPeer peer({[](PeerConnection& client) { client.close(); },
                             [](PeerConnection& client) { client.send("again"); }});
    auto communicator = communicatorTo(peer.port());
    const Connector outer(communicator);
    EXPECT_THROW(readText(communicator, 5), DeviceException);
    EXPECT_FALSE(communicator.isConnected());
    {
        const Connector inner(communicator);
        EXPECT_TRUE(communicator.isConnected());
    }
    EXPECT_EQ(readText(communicator, 5), "again");
}

TEST(EthernetConnect, LeavesNoDescriptorBehind) {
    const std::size_t before = TestSupport::openDescriptors();
    {
        const LoopbackPeer peer({[](PeerConnection&) {}, [](PeerConnection& client) { client.close(); }});
        auto communicator = communicatorTo(peer.port());
        { const Connector hold(communicator); }
        const Connector hold(communicator);
        EXPECT_THROW(readText(communicator, 1), DeviceException);
        auto refused = communicatorTo(TestSupport::refusingPort());
        EXPECT_THROW(const Connector refusedHold(refused), DeviceException);
    }
    EXPECT_EQ(TestSupport::openDescriptors(), before);
}

TEST(ClientFactory, MakesUnconnectedCommunicators) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abc"); });
    const std::unique_ptr<EthernetCommunicator> communicator(
        ClientFactory::createEthernetCommunicator(L"127.0.0.1", peer.port(), -1));
    EXPECT_EQ(communicator->getAddress(), L"127.0.0.1");
    EXPECT_EQ(communicator->getPort(), peer.port());
    EXPECT_FALSE(communicator->isConnected());
    const Connector hold(*communicator);
    EXPECT_EQ(readText(*communicator, 3), "abc");
}

TEST(ClientFactory, PassesTheTimeOutOfTheConnectOn) {
    const FullBacklog silent;
    const std::unique_ptr<EthernetCommunicator> communicator(
        ClientFactory::createEthernetCommunicator(L"127.0.0.1", silent.port(), 20));
    const Stopwatch stopwatch;
    EXPECT_THROW(const Connector hold(*communicator), DeviceException);
    EXPECT_GE(stopwatch.elapsed(), 20ms);
    EXPECT_LT(stopwatch.elapsed(), 4s) << "that is the default's";
}

TEST(EthernetWrite, SendsAll) {
    const std::string sent = patternOf(std::size_t{4} << 20);
    std::string received;
    {
        const LoopbackPeer peer([&](PeerConnection& client) {
            client.keepQuiet(20ms); // until the write waits for room, which nothing tells
            received = client.receive(sent.size());
        });
        auto communicator = communicatorTo(peer.port());
        const Connector hold(communicator);
        write(communicator, sent, true);
    }
    EXPECT_TRUE(received == sent);
}

TEST(EthernetWrite, DropsUnreadInputWhereToldTo) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("stale");
        client.receive(1);
        client.send("fresh");
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    ASSERT_EQ(readText(communicator, 1), "s") << "the rest came with it";
    write(communicator, "?", true);
    EXPECT_EQ(readText(communicator, 5), "fresh");
}

TEST(EthernetWrite, KeepsUnreadInputWhereNotToldToDropIt) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("stale");
        client.receive(1);
        client.send("fresh");
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    ASSERT_EQ(readText(communicator, 1), "s");
    write(communicator, "?", false);
    EXPECT_EQ(readText(communicator, 9), "talefresh");
}

TEST(EthernetWrite, BoundsWhatItDropsOfAPeerThatNeverEnds) {
    std::promise<bool> answered;
    const LoopbackPeer peer(
        [&](PeerConnection& client) { answered.set_value(client.floodUntilAnswered(std::size_t{2} << 30)); });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    ASSERT_EQ(readText(communicator, 1).size(), 1u);
    write(communicator, "?", true);
    EXPECT_TRUE(communicator.isConnected());
    EXPECT_TRUE(answered.get_future().get());
}

TEST(EthernetWrite, FindsWhileDroppingThatThePeerHasClosed) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("stale");
        client.close();
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    ASSERT_EQ(readText(communicator, 1), "s");
    EXPECT_EQ(messageOf([&] { write(communicator, "?", true); }),
              messageTo(peer.port(), "send failed: Connection closed by the peer"));
    EXPECT_FALSE(communicator.isConnected());
}

TEST(EthernetWrite, ThatFailsNamesAddressPortOperationAndReasonAndRaisesNoSignal) {
    const LoopbackPeer peer([](PeerConnection& client) { client.close(); });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    std::string message;
    // The first bytes still find a connection that the peer then resets.
    const Stopwatch stopwatch;
    while (communicator.isConnected() && stopwatch.elapsed() < 5s)
        message = messageOf([&] { write(communicator, "?", false); });
    EXPECT_FALSE(communicator.isConnected());
    const std::string start = messageTo(peer.port(), "send failed: ");
    EXPECT_TRUE(message == start + std::strerror(EPIPE) || message == start + std::strerror(ECONNRESET))
        << message;
}

TEST(EthernetWrite, FailsWhereNothingIsConnected) {
    auto communicator = communicatorTo(1);
    EXPECT_EQ(messageOf([&] { write(communicator, "", false); }), messageTo(1, "send failed: Not connected"));
}

TEST(EthernetRead, OfAHeaderWaitsThroughAPause) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("abc");
        client.keepQuiet(60ms); // three times what ends a larger read
        client.send("def");
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    EXPECT_EQ(readText(communicator, 6), "abcdef");
}

TEST(EthernetRead, OfSixteenBytesWaitsThroughAPause) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.send("abc");
        client.keepQuiet(60ms); // three times what ends a larger read
        client.send("defghijklmnop");
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    EXPECT_EQ(readText(communicator, 16), "abcdefghijklmnop");
}

TEST(EthernetRead, OfMoreThanSixteenBytesEndsWhereTheLineIsQuiet) {
    std::promise<void> read;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send("abc");
        read.get_future().wait_for(5s);
        client.send("rest");
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    const Stopwatch stopwatch;
    EXPECT_EQ(readText(communicator, 17), "abc");
    EXPECT_GE(stopwatch.elapsed(), 20ms);
    read.set_value();
    EXPECT_EQ(readText(communicator, 4), "rest");
}

TEST(EthernetRead, OfMoreThanSixteenBytesWaitsLongerForTheFirst) {
    const std::string text = patternOf(17);
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.keepQuiet(60ms); // three times what ends a read that has begun
        client.send(text);
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    EXPECT_EQ(readText(communicator, 17), text);
}

TEST(EthernetRead, GoesOnUntilTheCountIsReached) {
    const std::string text = patternOf(3 * piece + 5);
    std::promise<void> sent;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send(text);
        sent.set_value();
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    sent.get_future().wait_for(5s);
    EXPECT_TRUE(readText(communicator, static_cast<unsigned int>(text.size())) == text);
}

TEST(EthernetRead, TakesNoMoreThanAsked) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abcdef"); });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    std::string text = "??????";
    EXPECT_EQ(communicator.readBytes(text.data(), 4, 1, patientMs), 4);
    EXPECT_EQ(text, "abcd??");
    EXPECT_EQ(readText(communicator, 2), "ef");
}

TEST(EthernetRead, EndsAtItsTimeOutWithNothing) {
    const LoopbackPeer peer([](PeerConnection&) {});
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    for (const unsigned int count : {6u, 100u}) {
        const Stopwatch stopwatch;
        EXPECT_EQ(readText(communicator, count, 30), "");
        EXPECT_GE(stopwatch.elapsed(), 30ms);
    }
    EXPECT_TRUE(communicator.isConnected());
}

TEST(EthernetRead, EndsAtItsTimeOutWithWhatItHas) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abc"); });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    ASSERT_EQ(readText(communicator, 1), "a") << "the rest came with it";
    const Stopwatch stopwatch;
    EXPECT_EQ(readText(communicator, 6, 40), "bc");
    EXPECT_GE(stopwatch.elapsed(), 40ms);
    EXPECT_TRUE(communicator.isConnected());
}

TEST(EthernetRead, CountsItsTimeOutFromItsStart) {
    constexpr unsigned int drops = 250;
    for (const unsigned int count : {16u, drops}) {
        const LoopbackPeer peer([](PeerConnection& client) { client.drip("x", drops, 10ms); });
        auto communicator = communicatorTo(peer.port());
        const Connector hold(communicator);
        EXPECT_LT(readText(communicator, count, 50).size(), count);
    }
}

TEST(EthernetRead, EndsAtItsTimeOutThoughMoreIsThere) {
    std::promise<void> sent;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send(patternOf(3 * piece));
        sent.set_value();
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    sent.get_future().wait_for(5s);
    const std::size_t received = readText(communicator, 3 * piece, 0).size();
    EXPECT_GT(received, 0u);
    EXPECT_LE(received, piece);
}

TEST(EthernetRead, OfAClosedConnectionThrows) {
    const LoopbackPeer peer([](PeerConnection& client) { client.close(); });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    EXPECT_EQ(messageOf([&] { readText(communicator, 6); }),
              messageTo(peer.port(), "receive failed: Connection closed by the peer"));
    EXPECT_FALSE(communicator.isConnected());
}

TEST(EthernetRead, ReturnsWhatCameBeforeTheEndAndThenThrows) {
    for (const unsigned int count : {6u, 100u}) {
        const LoopbackPeer peer([](PeerConnection& client) {
            client.send("abc");
            client.close();
        });
        auto communicator = communicatorTo(peer.port());
        const Connector hold(communicator);
        EXPECT_EQ(readText(communicator, count), "abc");
        EXPECT_FALSE(communicator.isConnected());
        EXPECT_EQ(messageOf([&] { readText(communicator, count); }),
                  messageTo(peer.port(), "receive failed: Connection closed by the peer"));
        EXPECT_EQ(messageOf([&] { write(communicator, "?", true); }),
                  messageTo(peer.port(), "send failed: Connection closed by the peer"));
    }
}

TEST(EthernetRead, OfAResetConnectionThrowsTheSystemsReason) {
    const LoopbackPeer peer([](PeerConnection& client) {
        client.receive(1);
        client.reset();
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    write(communicator, "?", false);
    const std::string message =
        messageTo(peer.port(), std::string("receive failed: ") + std::strerror(ECONNRESET));
    EXPECT_EQ(messageOf([&] { readText(communicator, 6); }), message);
    EXPECT_FALSE(communicator.isConnected());
    EXPECT_EQ(messageOf([&] { readText(communicator, 6); }), message) << "the reason is kept";
}

TEST(EthernetRead, FailsWhereNothingIsConnected) {
    auto communicator = communicatorTo(1);
    EXPECT_EQ(messageOf([&] { readText(communicator, 6); }), messageTo(1, "receive failed: Not connected"));
}

TEST(EthernetRead, ForgetsAnOldFailureWithItsHold) {
    const LoopbackPeer peer([](PeerConnection& client) { client.close(); });
    auto communicator = communicatorTo(peer.port());
    {
        const Connector hold(communicator);
        EXPECT_THROW(readText(communicator, 6), DeviceException);
    }
    EXPECT_EQ(messageOf([&] { readText(communicator, 6); }),
              messageTo(peer.port(), "receive failed: Not connected"));
}

TEST(EthernetRead, SurvivesInterruptionsBySignals) {
    const SignalStorm storm;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send("abc");
        storm.awaitMore(3);
        client.send("def");
    });
    auto communicator = communicatorTo(peer.port());
    const Connector hold(communicator);
    EXPECT_EQ(readText(communicator, 6), "abcdef");
}

TEST(EthernetProgress, IsReportedEvery64KiBAndAtTheEnd) {
    constexpr std::size_t count = 3 * piece + 5;
    std::promise<void> sent;
    const LoopbackPeer peer([&](PeerConnection& client) {
        client.send(patternOf(count));
        sent.set_value();
    });
    auto communicator = communicatorTo(peer.port());
    std::vector<std::size_t> reports;
    communicator.setProgressObserver([&](std::size_t received, std::size_t expected) {
        reports.push_back(received);
        EXPECT_EQ(expected, count);
    });
    const Connector hold(communicator);
    sent.get_future().wait_for(5s);
    ASSERT_EQ(readText(communicator, count).size(), count);

    ASSERT_GE(reports.size(), 2u);
    EXPECT_EQ(reports.back(), count);
    reports.insert(reports.begin(), 0);
    for (std::size_t at = 1; at + 1 < reports.size(); ++at) {
        EXPECT_GE(reports[at] - reports[at - 1], piece);
        EXPECT_LT(reports[at] - reports[at - 1], 2 * piece);
    }
}

TEST(EthernetProgress, IsReportedAtTheEndOfAReadThatGotLess) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abc"); });
    auto communicator = communicatorTo(peer.port());
    std::vector<std::size_t> reports;
    communicator.setProgressObserver([&](std::size_t received, std::size_t) { reports.push_back(received); });
    const Connector hold(communicator);
    readText(communicator, 3);
    readText(communicator, 6, 10);
    EXPECT_EQ(reports, (std::vector<std::size_t>{3, 0}));
}

TEST(EthernetProgress, IsReportedNoMoreOnceTheObserverIsRemoved) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abc"); });
    auto communicator = communicatorTo(peer.port());
    int reports = 0;
    communicator.setProgressObserver([&](std::size_t, std::size_t) { ++reports; });
    communicator.setProgressObserver({});
    const Connector hold(communicator);
    EXPECT_EQ(readText(communicator, 3), "abc");
    EXPECT_EQ(reports, 0);
}

TEST(EthernetProgress, EndsTheReadByWhatTheObserverThrows) {
    struct Cancelled {};
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abcdef"); });
    auto communicator = communicatorTo(peer.port());
    communicator.setProgressObserver([](std::size_t, std::size_t) { throw Cancelled(); });
    const Connector hold(communicator);
    EXPECT_THROW(readText(communicator, 3), Cancelled);
    communicator.setProgressObserver({});
    EXPECT_EQ(readText(communicator, 3), "def") << "the connection goes on";
}
