#pragma once
// `korva simulate`: plays a camera on the network.

#include "CommonOptions.h"
#include "ExitStatus.h"
#include "SimulateOptions.h"

#include <cstdint>
#include <string>

namespace Console {

/// Serves until Ctrl-C or the end of options.runTime; says on standard output what it serves and then, line
/// by line, what happens. A failure is one line on standard error. Never throws.
ExitStatus runSimulate(const SimulateOptions& options, const CommonOptions& common);

/// Several lines: which camera is served, at which ports, with which faults, and how to take a picture.
std::string simulateGreeting(const SimulateOptions& options, std::uint16_t binaryPort, std::uint16_t textPort,
                             std::uint16_t discoveryPort);

} // namespace Console
