#pragma once
// What the command line of `korva simulate` says.

#include "Camera/CameraSettings.h"
#include "Network/CameraServer.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace Console {

struct SimulateOptions {
    Simulator::CameraSettings camera;
    Simulator::ServerOptions server; ///< a port of 0 lets the system choose; its log is left alone
    std::optional<std::chrono::milliseconds> runTime; ///< unset: until Ctrl-C

    std::string configFile;                 ///< of a set of cameras, served instead of `camera`; empty: none
    std::optional<unsigned> onlyNumber;     ///< of the set, counted from 1
    std::optional<std::string> onlyAddress; ///< of the set
};

/// A camera and where it is served; the log is left alone.
struct ServedCamera {
    Simulator::CameraSettings settings;
    Simulator::ServerOptions server;
};

/// The cameras to serve: the one of the command line, or those of the configuration file that are asked for.
/// Throws Simulator::CameraSetError, also where the file has no such camera.
std::vector<ServedCamera> camerasToServe(const SimulateOptions& options);

/// Adds the options of `korva simulate` to its command; `options` must outlive the parse.
void addSimulateOptions(CLI::App& command, SimulateOptions& options);

} // namespace Console
