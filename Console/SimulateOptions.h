#pragma once
// What the command line of `korva simulate` says.

#include "Camera/CameraSettings.h"
#include "CommandLine/CommandLine.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Console {

struct SimulateOptions {
    /// Of the command line; a port of 0 lets the system choose.
    Simulator::CameraEntry camera = {.address = "127.0.0.1"};
    std::optional<std::chrono::milliseconds> runTime; ///< unset: until Ctrl-C

    std::string configFile;                 ///< of a set of cameras, served instead of `camera`; empty: none
    std::optional<unsigned> onlyNumber;     ///< of the set, counted from 1
    std::optional<std::string> onlyAddress; ///< of the set
    bool json = false;
};

/// The cameras to serve: the one of the command line, or those of the configuration file that are asked for.
/// Throws Simulator::CameraSetError, also if the file has no such camera.
std::vector<Simulator::CameraEntry> camerasToServe(const SimulateOptions& options);

/// Adds the options of `korva simulate` to its command; `options` must outlive the parse.
void addSimulateOptions(const CommandLine::Options& command, SimulateOptions& options);

} // namespace Console
