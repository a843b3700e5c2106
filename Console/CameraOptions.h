#pragma once
// Which camera a command is about, and through which plug-in it is reached.

#include "TimeLimits.h"

#include <string>
#include <vector>

namespace Console {

struct CameraOptions {
    std::string pluginFile; ///< UTF-8; empty: found beside the tool
    std::string address;    ///< IPv4 address or host name, where there can be one only; empty: not given
    std::vector<std::string> addresses; ///< where there can be several: as they were given
    std::string descriptionFile;        ///< a stored description; empty: not given
    bool all = false;                   ///< every camera that a search finds
    TimeLimits limits;

    /// Those of `address` and `addresses`, each once, in their order.
    std::vector<std::string> eachAddress() const;
};

/// Adds --plugin and the limits.
void addPluginOption(const CommandLine::Options& command, CameraOptions& options);

/// Adds ADDRESS, which must be given.
void addAddress(const CommandLine::Options& command, CameraOptions& options);

/// Adds ADDRESS..., which may be left out.
void addAddresses(const CommandLine::Options& command, CameraOptions& options);

/// Adds ADDRESS..., --from and --all, one of which must be given.
void addAnyCameras(const CommandLine::Options& command, CameraOptions& options);

} // namespace Console
