// The limits at work in the host's client, in the world's time.

#include "EthernetClient.h"

#include "Communicator/ClientFactory.h"
#include "ReferenceHost/OperationLimits.h"

#include <cerrno>
#include <chrono>
#include <future>
#include <memory>

using namespace std::chrono_literals;
using ReferenceHost::OperationLimits;
using ReferenceHost::setDefaultTransportLimits;
using Simulator::CloseConnection;
using Simulator::Pause;
using testing::HasSubstr;
using testing::StartsWith;
using Tests::text;
using World::elapsed;

namespace {

constexpr TransportLimits shortHold{.hold = 55ms};

TransportLimits atLeast1000BytesASecondOver(std::chrono::milliseconds window) {
    return {.hold = 0ms, .bytesPerSecond = 1000, .window = window};
}

// How a read and a connect fail.

std::string heldTooLong(int bytes) {
    return "receive failed: Took too long: " + std::to_string(bytes) +
           " bytes in 0.1 s, the connection may be held 0.1 s";
}
std::string tooSlow(const std::string& amount) {
    return "receive failed: Too slow: " + amount + ", at least 1000 bytes a second are asked for";
}
const std::string operatedTooLong =
    "receive failed: Took too long: 6 bytes in 0.1 s, the operation may last 0.1 s";
const std::string notConnectedInTime =
    "connect failed: Took too long: 0 bytes in 0.1 s, the connection may be held 0.1 s";

/// A byte every 10 ms.
const World::Actions drip{World::sendingInPieces(World::Bytes(500, 'x'), 1, 10ms)};

/// The peer drips from the connect on, unless a test says otherwise.
struct LimitedClient : Tests::EthernetClient {
    LimitedClient() { peer.greet(drip); }
    ~LimitedClient() override { setDefaultTransportLimits({}); }

    /// As the plug-in reads a header and a picture: until all has come, or nothing more comes.
    static void readAll(Communicator& communicator, unsigned int most = 16) {
        World::Bytes bytes(most);
        while (communicator.readBytes(bytes.data(), most, 1, 5000) > 0) {
        }
    }
    /// How a hold fails that reads all.
    static std::string failureOfReading(Communicator& communicator, unsigned int most = 16) {
        const std::string failure = failureOf([&] {
            const Connector hold(communicator);
            readAll(communicator, most);
        });
        EXPECT_FALSE(communicator.isConnected());
        return failure;
    }
};
using EthernetLimits = LimitedClient;
using EthernetOperationLimits = LimitedClient;
using DefaultTransportLimits = LimitedClient;

} // namespace

TEST_F(EthernetLimits, EndAReadThatTakesTooLongOrIsTooSlow) {
    const World::Actions flood{World::sendingInPieces(World::Bytes(1 << 20), 1000, 1ms)};
    const auto bytes = [](std::size_t count) { return text(std::string(count, 'x')); };
    const World::Actions twice{bytes(1),    Pause{2s}, bytes(1999), Pause{2s},
                               bytes(2000), Pause{2s}, bytes(1999)};
    const TransportLimits speed = atLeast1000BytesASecondOver(50ms);
    struct Row {
        const char* what;
        TransportLimits limits;
        World::Actions comes;
        unsigned int count;
        std::string failure;
        World::Duration time;
    };
    for (const auto& [what, limits, comes, count, failure, time] : {
             Row{"a header that drips", shortHold, drip, 16, heldTooLong(6), 55ms},
             Row{"a picture that drips", shortHold, drip, 100'000, heldTooLong(6), 55ms},
             Row{"silence", shortHold, {}, 16, heldTooLong(0), 55ms},
             Row{"a flood", shortHold, flood, 100'000, heldTooLong(56'000), 55ms},
             Row{"a slow header", speed, drip, 16, tooSlow("6 bytes in 0.1 s"), 50ms},
             Row{"a slow picture", speed, drip, 100'000, tooSlow("6 bytes in 0.1 s"), 50ms},
             Row{"slow in the third window", atLeast1000BytesASecondOver(2s), twice, 100'000,
                 tooSlow("1999 bytes in 2.0 s"), 6s},
             Row{"slow in the shortest window", atLeast1000BytesASecondOver(0ms), drip, 16,
                 tooSlow("0 bytes in 0.0 s"), 2ms},
         }) {
        SCOPED_TRACE(what);
        client.setLimits(limits);
        peer.greet(comes);
        const auto begin = elapsed();
        EXPECT_EQ(failureOfReading(client, count), failure);
        EXPECT_EQ(elapsed() - begin, time);
    }
}

TEST_F(EthernetLimits, DoNotCountWhatTheHostDoesBetweenReads) {
    client.setLimits(atLeast1000BytesASecondOver(2s));
    peer.greet({text("x")});
    const Connector hold(client);
    EXPECT_EQ(read(1), "x");
    World::advance(500s);
    EXPECT_EQ(failureOf([this] { readAll(client); }), tooSlow("1 bytes in 2.0 s"));
    EXPECT_EQ(elapsed(), 502s);
}

TEST_F(EthernetLimits, WaitForEachAnswersFirstByteAsLongAsTheReadDoes) {
    client.setLimits(atLeast1000BytesASecondOver(50ms));
    peer.greet({}).act({Pause{4s}, text("answer")}).act({Pause{4s}, text("answer")});
    const Connector hold(client);
    for (int exchange = 0; exchange < 2; ++exchange) {
        write("?", true);
        EXPECT_EQ(read(6), "answer");
    }
}

TEST_F(EthernetLimits, BoundAConnectAndWhatIsDroppedAndASendThatNobodyTakes) {
    client.setLimits(shortHold);
    world.calls.fail("connect", ETIMEDOUT);
    EXPECT_EQ(failureOfConnect(client), notConnectedInTime);
    EXPECT_EQ(elapsed(), 55ms);
    client.setLimits({.hold = 600ms});
    for (const bool discards : {true, false}) {
        const auto begin = elapsed();
        const Connector hold(client);
        EXPECT_THAT(failureOfWrite(discards, 10'000),
                    StartsWith("send failed: Took too long: 0 bytes in 0.6 s"));
        EXPECT_EQ(elapsed() - begin, 600ms);
        giveRoomFor(5000);
    }
}

TEST_F(EthernetLimits, CountAHoldFromItsFirstConnect) {
    client.setLimits(shortHold);
    peer.greet({CloseConnection{}});
    {
        const Connector outer(client);
        EXPECT_THAT(failureOfRead(), HasSubstr("closed by the peer"));
        World::advance(shortHold.hold);
        EXPECT_EQ(failureOfConnect(client), notConnectedInTime);
    }
    EXPECT_EQ(failureOfConnect(client), "") << "another hold has its own time";
}

TEST_F(EthernetLimits, MayBeOfAnyLength) {
    constexpr auto longest = std::chrono::milliseconds::max();
    client.setLimits({.hold = longest, .bytesPerSecond = 1, .window = longest});
    const OperationLimits limits(longest);
    const Connector hold(client);
    EXPECT_EQ(read(6), "xxxxxx");
}

TEST_F(EthernetOperationLimits, EndWhatCommunicatorsOfAnyMakerDo) {
    const OperationLimits limits(55ms);
    const std::unique_ptr<EthernetCommunicator> made(
        ClientFactory::createEthernetCommunicator(L"10.0.0.5", 80, -1));
    EXPECT_EQ(failureOfReading(*made), operatedTooLong);
    EXPECT_EQ(failureOfConnect(client),
              "connect failed: Took too long: 0 bytes in 0.1 s, the operation may last 0.1 s");
    std::async(std::launch::async, [this] {
        EXPECT_EQ(failureOfConnect(client), "") << "another thread";
    }).wait();
}

TEST_F(EthernetOperationLimits, ReachAConnectionThatIsHeldAlready) {
    client.setLimits({.hold = 20s});
    const Connector hold(client);
    EXPECT_EQ(failureOf([this] {
                  const OperationLimits limits(55ms);
                  readAll(client);
              }),
              operatedTooLong);
}

TEST_F(EthernetOperationLimits, NestWithTheEarliestEndAndEndWithTheirScope) {
    for (const bool outerIsShorter : {true, false}) {
        const OperationLimits outer(outerIsShorter ? 55ms : 10min);
        const OperationLimits inner(outerIsShorter ? 10min : 55ms);
        const OperationLimits without(0ms);
        EXPECT_EQ(failureOfReading(client), operatedTooLong);
    }
    const Connector hold(client);
    EXPECT_EQ(read(6), "xxxxxx");
}

TEST_F(EthernetOperationLimits, GiveConnectionsHeldAtTheSameTimeOneHoldsTime) {
    const OperationLimits limits(10min, shortHold);
    {
        PosixEthernetCommunicator outer(L"10.0.0.5", 80, -1);
        const Connector hold(outer);
        World::advance(shortHold.hold);
        EXPECT_EQ(failureOfConnect(client), notConnectedInTime);
    }
    EXPECT_EQ(failureOfReading(client), heldTooLong(6));
}

TEST_F(DefaultTransportLimits, AreNoneAndHoldForCommunicatorsThatHaveNoneOfTheirOwn) {
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().hold, 0ms);
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().bytesPerSecond, 0u);
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().window, 30s);
    const TransportLimits speed = atLeast1000BytesASecondOver(50ms);
    PosixEthernetCommunicator withItsOwn(L"10.0.0.5", 80, -1);
    withItsOwn.setLimits(speed);
    setDefaultTransportLimits(shortHold);
    EXPECT_EQ(failureOfReading(client), heldTooLong(6));
    EXPECT_EQ(failureOfReading(withItsOwn), tooSlow("6 bytes in 0.1 s"));
    const OperationLimits operation(0ms, speed);
    const OperationLimits nested(10min);
    EXPECT_EQ(failureOfReading(client), tooSlow("6 bytes in 0.1 s")) << "the thread's go before";
}
