#pragma once
// Turns a right reply of the text language into what a fault makes of it.

#include "Camera/Session.h"
#include "Camera/TextLanguage.h"

#include <cstdint>
#include <vector>

namespace Simulator {

/// The actions that deliver `reply` with `fault` applied; each SendBytes is a datagram where the reply is one
/// of discovery. `seed` chooses the meaningless bytes.
std::vector<Action> faultedReply(const Fault& fault, TextReply reply, std::uint64_t seed);

/// The reply's text as it travels.
SharedBytes bytesOf(const TextReply& reply);

} // namespace Simulator
