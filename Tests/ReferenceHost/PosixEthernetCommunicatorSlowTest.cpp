// The bounds that last seconds.

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Support/LoopbackPeer.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>

using namespace std::chrono_literals;
using TestSupport::FullBacklog;
using TestSupport::LoopbackPeer;
using TestSupport::PeerConnection;
using TestSupport::Stopwatch;

TEST(EthernetConnectSlow, EndsAfterFiveSecondsByDefault) {
    static_assert(PosixEthernetCommunicator::defaultConnectTimeoutMs == 5000);
    const FullBacklog silent;
    PosixEthernetCommunicator communicator(L"127.0.0.1", silent.port(), -1);
    const Stopwatch stopwatch;
    EXPECT_THROW(const Connector hold(communicator), DeviceException);
    EXPECT_GE(stopwatch.elapsed(), 5s);
    EXPECT_LT(stopwatch.elapsed(), 60s);
}

TEST(EthernetWriteSlow, EndsWhereTheDeviceTakesNothingForTenSeconds) {
    const LoopbackPeer peer([](PeerConnection&) {});
    PosixEthernetCommunicator communicator(L"127.0.0.1", peer.port(), -1);
    const Connector hold(communicator);
    const std::string much(std::size_t{64} << 20, 'x');
    const Stopwatch stopwatch;
    try {
        communicator.writeBytes(much.data(), static_cast<unsigned int>(much.size()), true, 1);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const DeviceException& exception) {
        EXPECT_NE(std::string(exception.what()).find(std::string("send failed: ") + std::strerror(ETIMEDOUT)),
                  std::string::npos)
            << exception.what();
    }
    EXPECT_GE(stopwatch.elapsed(), 10s);
    EXPECT_FALSE(communicator.isConnected());
}
