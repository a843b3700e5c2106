#pragma once
// What the camera answers to a discovery datagram.

#include "Camera/Session.h"

#include <string>

namespace Simulator {

/// The reaction to one datagram. Its actions are SendBytes, a datagram each to whoever asked (one for every
/// piece, where it is to go in pieces), and Pauses before them; none unless the datagram is the discovery
/// query to the byte. `servedAddress` is announced by a camera that was told no other.
Reaction answerDiscovery(Camera& camera, ByteView datagram, const std::string& servedAddress);

} // namespace Simulator
