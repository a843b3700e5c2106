#include "Communicator/Connector.h"

#include "Communicator/Communicator.h"
#include "Communicator/DeviceException.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace {

/// A connection that only counts.
class CountingCommunicator : public Communicator {
public:
    void writeBytes(const void*, unsigned int, bool, int) override {}
    int readBytes(void*, unsigned int, int, unsigned int) override { return 0; }
    bool isConnected() const override { return connected; }

    bool connected = false;
    bool refuses = false;
    int connects = 0;
    int disconnects = 0;

protected:
    void connect() override {
        if (refuses)
            throw DeviceException(L"refused");
        ++connects;
        connected = true;
    }
    void disconnect() noexcept override {
        ++disconnects;
        connected = false;
    }
};

} // namespace

TEST(Connector, ConnectsAndCloses) {
    CountingCommunicator communicator;
    {
        const Connector hold(communicator);
        EXPECT_TRUE(communicator.connected);
    }
    EXPECT_EQ(communicator.connects, 1);
    EXPECT_EQ(communicator.disconnects, 1);
}

TEST(Connector, OfAConnectedCommunicatorOnlyCounts) {
    CountingCommunicator communicator;
    const Connector outer(communicator);
    {
        const Connector inner(communicator);
        const Connector innermost(communicator);
    }
    EXPECT_EQ(communicator.connects, 1);
    EXPECT_EQ(communicator.disconnects, 0);
}

TEST(Connector, ThatGoesLastClosesInAnyOrder) {
    CountingCommunicator communicator;
    auto first = std::make_unique<Connector>(communicator);
    auto second = std::make_unique<Connector>(communicator);
    first.reset();
    EXPECT_EQ(communicator.disconnects, 0);
    second.reset();
    EXPECT_EQ(communicator.disconnects, 1);
}

TEST(Connector, ConnectsAnewBelowAnOuterHoldThatLostItsConnection) {
    CountingCommunicator communicator;
    const Connector outer(communicator);
    communicator.connected = false;
    {
        const Connector inner(communicator);
        EXPECT_EQ(communicator.connects, 2);
    }
    EXPECT_TRUE(communicator.connected) << "the outer hold keeps the new connection";
}

TEST(Connector, ThatCannotConnectThrowsAndHoldsNothing) {
    CountingCommunicator communicator;
    communicator.refuses = true;
    EXPECT_THROW(const Connector hold(communicator), DeviceException);
    communicator.refuses = false;
    { const Connector hold(communicator); }
    EXPECT_EQ(communicator.disconnects, 1) << "the failed hold was not counted";
}

TEST(Connector, NeverThrowsOnTheWayOut) {
    static_assert(std::is_nothrow_destructible_v<Connector>);
    CountingCommunicator communicator;
    try {
        const Connector hold(communicator);
        communicator.connected = false;
        throw std::runtime_error("broken");
    } catch (const std::runtime_error&) {
        EXPECT_EQ(communicator.disconnects, 1);
    }
}
