// In the place of SimulateCommand.cpp where the simulator's sockets are missing.

#include "SimulateCommand.h"

namespace Console {

const bool hasSimulator = false;

ExitStatus runSimulate(const SimulateOptions& /*options*/, const CommonOptions& /*common*/) {
    return ExitStatus::failed; // nobody comes here
}

} // namespace Console
