#pragma once
// How an answer travels: as it should, or with a fault of the network.

#include "Camera/Session.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Simulator {

/// The action that sends the whole of `answer` at once.
Action sendWhole(SharedBytes answer);

/// The actions that deliver `answer` with `fault`; nothing if `fault` is not one of delivery.
std::optional<std::vector<Action>> faultedDelivery(const Fault& fault, const SharedBytes& answer,
                                                   std::uint64_t seed);

/// Whether nothing can follow on the connection.
bool endsConnection(const Action& action);

} // namespace Simulator
