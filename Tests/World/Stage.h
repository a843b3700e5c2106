#pragma once
// One test's world.

#include "World/Answers.h"
#include "World/Calls.h"
#include "World/Clock.h"
#include "World/HostCalls.h"
#include "World/Network.h"
#include "World/System.h"

#include <map>
#include <string>

namespace World {

/// From construction to destruction the world is the test's own, and afterwards nothing may be left: no
/// connection or socket open, no file, no image or communicator alive. So a fixture has it first, and what it
/// makes behind it.
struct Stage {
    Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage();

    Calls& calls = Calls::current();
    Network& network = Network::current();
    System& system = System::current();
    Imaging& imaging = Host::current().imaging;
    const std::map<const void*, std::string>& communicators = Host::current().communicators;

    Peer& at(const std::string& address, int port) { return network.at(address, port); }
};

/// The three answers of a capture in which the camera does all it is asked and sends `file`.
void answerCapture(Peer& camera, const Bytes& file);

/// What a camera says of itself where it is identified.
struct Identity {
    std::string hardware = "XM61";
    std::string software = "3.2.15";
    std::string serial = "K-0042";
};

/// The camera answers the three queries of an identification.
void answerIdentification(Peer& camera, const Identity& identity = {});

} // namespace World
