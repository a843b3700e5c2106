// The limits at work in the host's client, in the world's time.

#include "EthernetClient.h"

#include "Communicator/ClientFactory.h"
#include "ReferenceHost/OperationLimits.h"

#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <memory>

using namespace std::chrono_literals;
using ReferenceHost::OperationLimits;
using ReferenceHost::setDefaultTransportLimits;
using Simulator::CloseConnection;
using Simulator::Pause;
using testing::HasSubstr;
using Tests::EthernetClient;
using Tests::messageOf;
using Tests::messageOfConnect;
using Tests::text;
using World::elapsed;

namespace {

constexpr TransportLimits shortHold{.hold = 55ms};
constexpr TransportLimits speed{.hold = 0ms, .bytesPerSecond = 1000, .window = 50ms};

constexpr TransportLimits perTwoSeconds{.hold = 0ms, .bytesPerSecond = 1000, .window = 2s};
constexpr TransportLimits noWindow{.hold = 0ms, .bytesPerSecond = 1000, .window = 0ms};

// What the failures of a read and of a connect say.

std::string heldTooLong(int bytes) {
    return "10.0.0.5:80: receive failed: Took too long: " + std::to_string(bytes) +
           " bytes in 0.1 s, the connection may be held 0.1 s";
}
std::string tooSlow(const std::string& amount) {
    return "10.0.0.5:80: receive failed: Too slow: " + amount +
           ", at least 1000 bytes a second are asked for";
}
const std::string operatedTooLong =
    "10.0.0.5:80: receive failed: Took too long: 6 bytes in 0.1 s, the operation may last 0.1 s";
const std::string notConnectedInTime =
    "10.0.0.5:80: connect failed: Took too long: 0 bytes in 0.1 s, the connection may be held 0.1 s";

/// A byte every 10 ms.
const World::Actions drip{World::sendingInPieces(World::Bytes(500, 'x'), 1, 10ms)};

/// The peer drips from the connect on, unless a test says otherwise.
struct LimitedClient : EthernetClient {
    LimitedClient() { peer.greet(drip); }
    ~LimitedClient() override { setDefaultTransportLimits({}); }

    /// How a hold of the client for `talk` fails.
    std::string failureOf(Communicator& communicator, const std::function<void()>& talk) const {
        const std::string message = messageOf([&] {
            const Connector hold(communicator);
            talk();
        });
        EXPECT_FALSE(communicator.isConnected());
        return message;
    }
    /// As the plug-in reads a header and a picture: until all has come, or nothing more comes.
    static void readAll(Communicator& communicator, unsigned int most) {
        World::Bytes bytes(most);
        while (communicator.readBytes(bytes.data(), most, 1, Tests::patientMs) > 0) {
        }
    }
    std::string failureOfReading(Communicator& communicator, unsigned int most = 16) const {
        return failureOf(communicator, [&] { readAll(communicator, most); });
    }
};

struct EthernetLimits : LimitedClient {};
struct EthernetOperationLimits : LimitedClient {};
struct DefaultTransportLimits : LimitedClient {};

} // namespace

TEST_F(EthernetLimits, EndAReadThatTakesTooLongOrIsTooSlow) {
    const World::Actions flood{World::sendingInPieces(World::Bytes(1 << 20), 1000, 1ms)};
    const auto bytes = [](std::size_t count) { return text(std::string(count, 'x')); };
    const World::Actions twice{bytes(1),    Pause{2s}, bytes(1999), Pause{2s},
                               bytes(2000), Pause{2s}, bytes(1999)};
    struct Row {
        const char* what;
        TransportLimits limits;
        World::Actions comes;
        unsigned int count;
        std::string message;
        World::Duration time;
    };
    for (const auto& [what, limits, comes, count, message, time] : {
             Row{"a header that drips", shortHold, drip, 16, heldTooLong(6), 55ms},
             Row{"a picture that drips", shortHold, drip, 100'000, heldTooLong(6), 55ms},
             Row{"silence", shortHold, {}, 16, heldTooLong(0), 55ms},
             Row{"a flood", shortHold, flood, 100'000, heldTooLong(56'000), 55ms},
             Row{"a slow header", speed, drip, 16, tooSlow("6 bytes in 0.1 s"), 50ms},
             Row{"a slow picture", speed, drip, 100'000, tooSlow("6 bytes in 0.1 s"), 50ms},
             Row{"slow in the third window", perTwoSeconds, twice, 100'000, tooSlow("1999 bytes in 2.0 s"),
                 6s},
             Row{"slow in the shortest window", noWindow, drip, 16, tooSlow("0 bytes in 0.0 s"), 2ms},
         }) {
        SCOPED_TRACE(what);
        client.setLimits(limits);
        peer.greet(comes);
        const auto begin = elapsed();
        EXPECT_EQ(failureOfReading(client, count), message);
        EXPECT_EQ(elapsed() - begin, time);
    }
}

TEST_F(EthernetLimits, DoNotCountWhatTheHostDoesBetweenReads) {
    client.setLimits({.hold = 0ms, .bytesPerSecond = 1000, .window = 2s});
    peer.greet({text("x")});
    const auto talk = [this] {
        EXPECT_EQ(read(1), "x");
        World::advance(500s);
        readAll(client, 16);
    };
    EXPECT_THAT(failureOf(client, talk), HasSubstr(": receive failed: Too slow: 1 bytes in 2.0 s"));
    EXPECT_EQ(elapsed(), 502s);
}

TEST_F(EthernetLimits, WaitForEachAnswersFirstByteAsLongAsTheReadDoes) {
    client.setLimits(speed);
    peer.greet({}).act({Pause{4s}, text("answer")}).act({Pause{4s}, text("answer")});
    const Connector hold(client);
    for (int exchange = 0; exchange < 2; ++exchange) {
        write("?", true);
        EXPECT_EQ(read(6), "answer");
    }
}

TEST_F(EthernetLimits, BoundAConnect) {
    client.setLimits(shortHold);
    world.calls.fail("connect", ETIMEDOUT);
    EXPECT_EQ(messageOfConnect(client), notConnectedInTime);
    EXPECT_EQ(elapsed(), 55ms);
}

TEST_F(EthernetLimits, BoundWhatIsDroppedBeforeARequest) {
    client.setLimits({.hold = 600ms});
    EXPECT_THAT(failureOf(client, [this] { write("?", true); }),
                HasSubstr(": send failed: Took too long: 0 bytes in 0.6 s"));
    EXPECT_EQ(elapsed(), 600ms);
}

TEST_F(EthernetLimits, BoundASendThatNobodyTakes) {
    client.setLimits({.hold = 300ms});
    world.network.serve(
        "10.0.0.5", 80, [this] { return peer.accept(); }, 5000);
    EXPECT_THAT(failureOf(client, [this] { write(std::string(10'000, 'x'), false); }),
                HasSubstr(": send failed: Took too long: 0 bytes in 0.3 s"));
    EXPECT_EQ(elapsed(), 300ms);
}

TEST_F(EthernetLimits, CountAHoldFromItsFirstConnect) {
    client.setLimits(shortHold);
    peer.greet({CloseConnection{}});
    {
        const Connector outer(client);
        EXPECT_THAT(messageOf([this] { read(16); }), HasSubstr("closed by the peer"));
        World::advance(shortHold.hold);
        EXPECT_EQ(messageOfConnect(client), notConnectedInTime);
    }
    EXPECT_EQ(messageOfConnect(client), "") << "another hold has its own time";
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
    EXPECT_EQ(messageOfConnect(client),
              "10.0.0.5:80: connect failed: Took too long: 0 bytes in 0.1 s, the operation may last 0.1 s");
    std::async(std::launch::async, [this] {
        EXPECT_EQ(messageOfConnect(client), "") << "another thread";
    }).wait();
}

TEST_F(EthernetOperationLimits, ReachAConnectionThatIsHeldAlready) {
    client.setLimits({.hold = 20s});
    EXPECT_EQ(failureOf(client,
                        [this] {
                            const OperationLimits limits(55ms);
                            readAll(client, 16);
                        }),
              operatedTooLong);
}

TEST_F(EthernetOperationLimits, EndWithTheirScope) {
    { const OperationLimits limits(1ms); }
    World::advance(5ms);
    const Connector hold(client);
    EXPECT_EQ(read(6), "xxxxxx");
}

TEST_F(EthernetOperationLimits, NestWithTheEarliestEnd) {
    for (const bool outerIsShorter : {true, false}) {
        const OperationLimits outer(outerIsShorter ? 55ms : 10min);
        const OperationLimits inner(outerIsShorter ? 10min : 55ms);
        const OperationLimits without(0ms);
        EXPECT_EQ(failureOfReading(client), operatedTooLong);
    }
}

TEST_F(EthernetOperationLimits, GiveConnectionsHeldAtTheSameTimeOneHoldsTime) {
    const OperationLimits limits(10min, shortHold);
    {
        PosixEthernetCommunicator outer(L"10.0.0.5", 80, -1);
        const Connector hold(outer);
        World::advance(shortHold.hold);
        EXPECT_EQ(messageOfConnect(client), notConnectedInTime);
    }
    EXPECT_EQ(failureOfReading(client), heldTooLong(6));
}

TEST_F(DefaultTransportLimits, AreNone) {
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().hold, 0ms);
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().bytesPerSecond, 0u);
    EXPECT_EQ(ReferenceHost::defaultTransportLimits().window, 30s);
}

TEST_F(DefaultTransportLimits, HoldForCommunicatorsThatHaveNoneOfTheirOwn) {
    PosixEthernetCommunicator withItsOwn(L"10.0.0.5", 80, -1);
    withItsOwn.setLimits(speed);
    setDefaultTransportLimits(shortHold);
    EXPECT_EQ(failureOfReading(client), heldTooLong(6));
    EXPECT_EQ(failureOfReading(withItsOwn), tooSlow("6 bytes in 0.1 s"));
    const OperationLimits operation(0ms, speed);
    const OperationLimits nested(10min);
    EXPECT_EQ(failureOfReading(client), tooSlow("6 bytes in 0.1 s")) << "the thread's go before";
}
