#pragma once
// Turns a right answer into what a fault makes of it.

#include "Camera/Session.h"

#include <vector>

namespace Simulator {

/// The actions that deliver `answer`, a whole message of one argument, with `fault` applied.
/// `configuration` says in which format a picture is due and how large a black one is.
std::vector<Action> faultedAnswer(const Fault& fault, const SharedBytes& answer, Camera& camera,
                                  const Configuration& configuration);

} // namespace Simulator
