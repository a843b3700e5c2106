// The limits at work in a communicator, against peers on loopback.

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "ReferenceHost/OperationLimits.h"
#include "Support/LoopbackPeer.h"

#include <array>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using ReferenceHost::OperationLimits;
using ReferenceHost::setDefaultTransportLimits;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using TestSupport::FullBacklog;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;
using TestSupport::Stopwatch;

namespace {

constexpr unsigned int patientMs = 10'000;
constexpr int manyDrops = 500; // 5 s of them, where nothing ends it
constexpr TransportLimits shortHold{.hold = 60ms};
constexpr TransportLimits speed{.hold = 0ms, .bytesPerSecond = 100'000, .window = 60ms};

using Talk = std::function<void(Communicator&)>;

std::unique_ptr<PosixEthernetCommunicator> communicatorTo(int port) {
    return std::make_unique<PosixEthernetCommunicator>(L"127.0.0.1", port, 5000);
}

/// How a hold of `communicator` for `talk` fails, long before the peer would have ended it.
std::string failureOf(Communicator& communicator, const Talk& talk) {
    const Stopwatch stopwatch;
    std::string message = "nothing was thrown";
    try {
        const Connector hold(communicator);
        talk(communicator);
    } catch (const DeviceException& exception) {
        message = exception.what();
    }
    EXPECT_LT(stopwatch.elapsed(), 4s);
    EXPECT_FALSE(communicator.isConnected());
    return message;
}

/// As the plug-in reads a header and a picture: until all has come, or nothing more comes.
void readAll(Communicator& communicator, unsigned int most) {
    std::vector<unsigned char> bytes(most);
    while (communicator.readBytes(bytes.data(), most, 1, patientMs) > 0) {
    }
}

void drip(PeerConnection& client) {
    client.drip("x", manyDrops, 10ms);
}

void write(Communicator& communicator, std::size_t count) {
    const std::vector<unsigned char> bytes(count);
    communicator.writeBytes(bytes.data(), static_cast<unsigned int>(count), true, 1);
}

} // namespace

TEST(TransportLimits, EndADripByTheHoldsTime) {
    for (const unsigned int count : {16u, 100'000u}) {
        const LoopbackPeer peer(drip);
        const auto communicator = communicatorTo(peer.port());
        communicator->setLimits(shortHold);
        EXPECT_THAT(failureOf(*communicator, [&](auto& line) { readAll(line, count); }),
                    AllOf(StartsWith("127.0.0.1:" + std::to_string(peer.port()) +
                                     ": receive failed: Took too long: "),
                          HasSubstr(" bytes in "), HasSubstr(", the connection may be held 0.1 s")));
    }
}

TEST(TransportLimits, EndADripByTheLeastSpeed) {
    for (const unsigned int count : {16u, 100'000u}) {
        const LoopbackPeer peer(drip);
        const auto communicator = communicatorTo(peer.port());
        communicator->setLimits(speed);
        EXPECT_THAT(
            failureOf(*communicator, [&](auto& line) { readAll(line, count); }),
            AllOf(StartsWith("127.0.0.1:" + std::to_string(peer.port()) + ": receive failed: Too slow: "),
                  testing::EndsWith(", at least 100000 bytes a second are asked for")));
    }
}

TEST(TransportLimits, WaitForEachAnswersFirstByteAsLongAsTheReadDoes) {
    const LoopbackPeer peer([](PeerConnection& client) {
        for (int exchange = 0; exchange < 2; ++exchange) {
            client.receive(1);
            client.keepQuiet(150ms); // more than two windows: an exposure
            client.send("answer");
        }
    });
    const auto communicator = communicatorTo(peer.port());
    communicator->setLimits(speed);
    const Connector hold(*communicator);
    for (int exchange = 0; exchange < 2; ++exchange) {
        write(*communicator, 1);
        std::array<char, 6> answer{};
        EXPECT_EQ(communicator->readBytes(answer.data(), 6, 1, patientMs), 6);
    }
}

TEST(TransportLimits, EndTheWaitForAPeerThatSaysNothing) {
    const LoopbackPeer peer([](PeerConnection&) {});
    const auto communicator = communicatorTo(peer.port());
    communicator->setLimits(shortHold);
    EXPECT_THAT(failureOf(*communicator, [](auto& line) { readAll(line, 6); }),
                HasSubstr(": receive failed: Took too long: 0 bytes in "));
}

TEST(TransportLimits, EndAFloodByTheHoldsTime) {
    const LoopbackPeer peer([](PeerConnection& client) { client.floodUntilAnswered(std::size_t{1} << 40); });
    const auto communicator = communicatorTo(peer.port());
    communicator->setLimits(shortHold);
    EXPECT_THAT(failureOf(*communicator, [](auto& line) { readAll(line, 1u << 20); }),
                HasSubstr(": receive failed: Took too long: "));
}

TEST(TransportLimits, BoundAConnect) {
    const FullBacklog silent;
    const auto communicator = communicatorTo(silent.port());
    communicator->setLimits(shortHold);
    EXPECT_THAT(failureOf(*communicator, [](auto&) {}),
                HasSubstr(": connect failed: Took too long: 0 bytes in 0.1 s, the connection may be held"));
}

TEST(TransportLimits, BoundWhatIsDroppedBeforeARequest) {
    const LoopbackPeer peer(
        [](PeerConnection& client) { client.drip("xx", std::numeric_limits<int>::max(), 0ms); });
    const auto communicator = communicatorTo(peer.port());
    communicator->setLimits({.hold = 600ms});
    const Talk talk = [](auto& line) {
        for (;;) { // on a busy machine a peer pauses, which ends the dropping before the limit does
            char unread = 0;
            ASSERT_EQ(line.readBytes(&unread, 1, 1, patientMs), 1);
            write(line, 1);
        }
    };
    EXPECT_THAT(failureOf(*communicator, talk),
                AllOf(HasSubstr(" failed: Took too long: "), HasSubstr(" bytes in 0.")));
}

TEST(TransportLimits, BoundASendThatNobodyTakes) {
    const LoopbackPeer peer([](PeerConnection&) {});
    const auto communicator = communicatorTo(peer.port());
    communicator->setLimits({.hold = 300ms}); // some of it fills the system's buffers
    EXPECT_THAT(failureOf(*communicator, [](auto& line) { write(line, std::size_t{64} << 20); }),
                HasSubstr(": send failed: Took too long: 0 bytes in "));
}

TEST(TransportLimits, CountAHoldFromItsFirstConnect) {
    const LoopbackPeer peer({[](PeerConnection& client) { client.close(); }, drip});
    const auto communicator = communicatorTo(peer.port());
    communicator->setLimits(shortHold);
    {
        const Connector outer(*communicator);
        EXPECT_THROW(readAll(*communicator, 16), DeviceException) << "the peer has closed";
        std::promise<void>().get_future().wait_for(shortHold.hold);
        EXPECT_THAT(failureOf(*communicator, [](auto&) {}), HasSubstr(": connect failed: Took too long: "));
    }
    EXPECT_THAT(failureOf(*communicator, [](auto& line) { readAll(line, 16); }),
                HasSubstr(": receive failed: Took too long: "))
        << "another hold has its own time";
}

TEST(TransportLimits, MayBeOfAnyLength) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abcdef"); });
    const auto communicator = communicatorTo(peer.port());
    constexpr auto longest = std::chrono::milliseconds::max();
    communicator->setLimits({.hold = longest, .bytesPerSecond = 1, .window = longest});
    const OperationLimits limits(longest);
    const Connector hold(*communicator);
    std::array<char, 6> answer{};
    EXPECT_EQ(communicator->readBytes(answer.data(), 6, 1, patientMs), 6);
}

TEST(OperationLimits, EndWhatCommunicatorsOfAnyMakerDoOnTheirThread) {
    const LoopbackPeer peer({drip, drip});
    const OperationLimits limits(60ms);
    for (int connection = 0; connection < 2; ++connection) {
        const std::unique_ptr<EthernetCommunicator> made(
            ClientFactory::createEthernetCommunicator(L"127.0.0.1", peer.port(), -1));
        EXPECT_THAT(failureOf(*made, [](auto& line) { readAll(line, 16); }),
                    AllOf(HasSubstr(connection == 0 ? ": receive failed: Took too long: "
                                                    : ": connect failed: Took too long: 0 bytes in "),
                          HasSubstr(", the operation may last 0.1 s")));
    }
    std::async(std::launch::async, [&] {
        const auto elsewhere = communicatorTo(peer.port());
        EXPECT_NO_THROW(const Connector hold(*elsewhere)) << "another thread";
    }).wait();
}

TEST(OperationLimits, ReachAConnectionThatIsHeldAlready) {
    const LoopbackPeer peer(drip);
    const auto communicator = communicatorTo(peer.port());
    EXPECT_THAT(failureOf(*communicator,
                          [](auto& line) {
                              const OperationLimits limits(60ms);
                              readAll(line, 16);
                          }),
                HasSubstr(", the operation may last 0.1 s"));
}

TEST(OperationLimits, EndWithTheirScope) {
    const LoopbackPeer peer([](PeerConnection& client) { client.send("abcdef"); });
    { const OperationLimits limits(1ms); }
    const auto communicator = communicatorTo(peer.port());
    const Connector hold(*communicator);
    std::promise<void>().get_future().wait_for(5ms); // more than the limits had
    std::array<char, 6> answer{};
    EXPECT_EQ(communicator->readBytes(answer.data(), 6, 1, patientMs), 6);
}

TEST(OperationLimits, NestWithTheEarliestEnd) {
    for (const bool outerIsShorter : {true, false}) {
        const LoopbackPeer peer(drip);
        const OperationLimits outer(outerIsShorter ? 60ms : 10min);
        const OperationLimits inner(outerIsShorter ? 10min : 60ms);
        const OperationLimits without(0ms);
        EXPECT_THAT(failureOf(*communicatorTo(peer.port()), [](auto& line) { readAll(line, 16); }),
                    HasSubstr(", the operation may last 0.1 s"));
    }
}

TEST(OperationLimits, GiveConnectionsHeldAtTheSameTimeOneHoldsTime) {
    const LoopbackPeer outerPeer([](PeerConnection&) {});
    const LoopbackPeer innerPeer(drip);
    const OperationLimits limits(10min, shortHold);
    const auto inner = communicatorTo(innerPeer.port());
    const Talk talk = [](auto& line) { readAll(line, 16); };
    {
        const auto outer = communicatorTo(outerPeer.port());
        const Connector hold(*outer);
        std::promise<void>().get_future().wait_for(shortHold.hold);
        EXPECT_THAT(failureOf(*inner, talk), HasSubstr(": connect failed: Took too long: "));
    }
    EXPECT_THAT(failureOf(*inner, talk), HasSubstr(": receive failed: Took too long: "));
}

/// Sets the limits of all communicators for its lifetime.
class DefaultLimits {
public:
    explicit DefaultLimits(const TransportLimits& limits) { setDefaultTransportLimits(limits); }
    DefaultLimits(const DefaultLimits&) = delete;
    DefaultLimits& operator=(const DefaultLimits&) = delete;
    ~DefaultLimits() { setDefaultTransportLimits({}); }
};

TEST(DefaultTransportLimits, AreNone) {
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().hold, 0ms);
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().bytesPerSecond, 0u);
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().window, 30s);
}

TEST(DefaultTransportLimits, HoldForCommunicatorsThatHaveNoneOfTheirOwn) {
    const LoopbackPeer peer({drip, drip, drip});
    const auto madeBefore = communicatorTo(peer.port());
    const auto withItsOwn = communicatorTo(peer.port());
    withItsOwn->setLimits(speed);
    const DefaultLimits limits(shortHold);
    const Talk talk = [](auto& line) { readAll(line, 16); };
    EXPECT_THAT(failureOf(*madeBefore, talk), HasSubstr("the connection may be held 0.1 s"));
    EXPECT_THAT(failureOf(*withItsOwn, talk), HasSubstr("Too slow: "));
    const OperationLimits operation(0ms, speed);
    const OperationLimits nested(10min);
    EXPECT_THAT(failureOf(*madeBefore, talk), HasSubstr("Too slow: ")) << "the thread's go before";
}
