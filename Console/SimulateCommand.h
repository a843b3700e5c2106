#pragma once
// `korva simulate`: plays a camera on the network.

#include "CommonOptions.h"
#include "ExitStatus.h"
#include "SimulateOptions.h"

#include <string>

namespace Simulator {
class CameraServer;
}

namespace Console {

/// Whether this build plays cameras: the simulator's sockets are those of POSIX systems.
extern const bool hasSimulator;

/// Serves one camera or a set of them until Ctrl-C, the end of options.runTime or that of whoever reads
/// standard output, which end it within half a second whatever it is doing: what is not done by then ends
/// with the process. Says on standard output what it serves, once all of it is served, and then, line by
/// line, what happens. A failure is one line on standard error. Only where hasSimulator. Never
/// throws.
ExitStatus runSimulate(const SimulateOptions& options, const CommonOptions& common);

/// Several lines about a camera that is served: what it is, at which ports, with which faults, and how to
/// take a picture.
std::string simulateGreeting(const Simulator::CameraServer& server);

} // namespace Console
