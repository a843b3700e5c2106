#pragma once
// One test's world.

#include "World/Answers.h"
#include "World/Calls.h"
#include "World/Clock.h"
#include "World/HostCalls.h"
#include "World/Network.h"
#include "World/System.h"

#include <gmock/gmock.h>

#include <map>
#include <string>

namespace World {

/// From construction to destruction the world is the test's own, and afterwards nothing may be left: no
/// connection or socket open, no file, no image or communicator alive. So a fixture has it first, and what it
/// makes behind it.
struct Stage {
    Stage() { begin(); } // what another test left is its own failure
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage() {
        using ::testing::IsEmpty;
        EXPECT_THAT(network.openConnections(), IsEmpty());
        EXPECT_THAT(network.openSockets, IsEmpty());
        EXPECT_EQ(system.openFiles, 0);
        EXPECT_THAT(communicators, IsEmpty());
        EXPECT_THAT(calls.of("release of a dead image"), IsEmpty());
        for (Image* const image : imaging.alive)
            ADD_FAILURE() << "an image of " << image->getWidth() << " x " << image->getHeight()
                          << " is alive";
        begin();
    }

    Calls& calls = Calls::current();
    Network& network = Network::current();
    System& system = System::current();
    Imaging& imaging = Host::current().imaging;
    const std::map<const void*, std::string>& communicators = Host::current().communicators;

    Peer& at(const std::string& address, int port) { return network.at(address, port); }

private:
    void begin() {
        reset();
        imaging.forget();
        Host::current().communicators.clear();
    }
};

/// The three answers of a capture in which the camera does all it is asked and sends `file`.
inline void answerCapture(Peer& camera, const Bytes& file) {
    camera.answer(done()).answer(done()).answer(image(file));
}

/// What a camera says of itself where it is identified.
struct Identity {
    std::string hardware = "XM61";
    std::string software = "3.2.15";
    std::string serial = "K-0042";
};

/// The camera answers the three queries of an identification.
inline void answerIdentification(Peer& camera, const Identity& identity = {}) {
    camera.say("[Version --HW " + identity.hardware + " --SW " + identity.software + " --API 7]");
    camera.say("[SerialNumber --Camera " + identity.serial + "]");
    camera.say("[--Settings --NetworkProtocol DHCP --NetMask 255.255.255.0 --NetGateway 10.0.0.1]");
}

} // namespace World
