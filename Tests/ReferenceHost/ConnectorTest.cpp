#include "Communicator/Connector.h"

#include "FakeCamera.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace {

struct ConnectorOf : testing::Test {
    Tests::FakeCommunicator communicator;
};

} // namespace

TEST_F(ConnectorOf, AnUnconnectedCommunicatorConnectsAndTheLastClosesInAnyOrder) {
    auto first = std::make_unique<Connector>(communicator);
    EXPECT_TRUE(communicator.connected);
    auto second = std::make_unique<Connector>(communicator);
    { const Connector third(communicator); }
    EXPECT_EQ(communicator.connects, 1) << "the others only count";
    first.reset();
    EXPECT_EQ(communicator.disconnects, 0);
    second.reset();
    EXPECT_EQ(communicator.disconnects, 1);
}

TEST_F(ConnectorOf, ACommunicatorThatLostItsConnectionConnectsAnewBelowAnOuterHold) {
    const Connector outer(communicator);
    communicator.connected = false;
    {
        const Connector inner(communicator);
        EXPECT_EQ(communicator.connects, 2);
    }
    EXPECT_TRUE(communicator.connected) << "the outer hold keeps the new connection";
}

TEST_F(ConnectorOf, ACommunicatorThatIsRefusedThrowsAndHoldsNothing) {
    communicator.refuses = true;
    EXPECT_THROW(const Connector hold(communicator), DeviceException);
    communicator.refuses = false;
    { const Connector hold(communicator); }
    EXPECT_EQ(communicator.disconnects, 1) << "the failed hold was not counted";
}

TEST_F(ConnectorOf, ABrokenCommunicatorNeverThrowsOnTheWayOut) {
    static_assert(std::is_nothrow_destructible_v<Connector>);
    try {
        const Connector hold(communicator);
        communicator.connected = false;
        throw std::runtime_error("broken");
    } catch (const std::runtime_error&) {
        EXPECT_EQ(communicator.disconnects, 1);
    }
}
