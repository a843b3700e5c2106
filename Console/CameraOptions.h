#pragma once
// Which camera a command is about, and through which plug-in it is reached.

#include "CommandLine/CommandLine.h"
#include "TimeLimits.h"

#include <string>

namespace Console {

struct CameraOptions {
    std::string pluginFile;      ///< UTF-8; empty: found beside the tool
    std::string address;         ///< IPv4 address or host name; empty: not given
    std::string descriptionFile; ///< a stored description; empty: not given
    bool all = false;            ///< every camera that a search finds
    TimeLimits limits;
};

/// Adds --plugin and the limits.
void addPluginOption(const CommandLine::Options& command, CameraOptions& options);

/// Adds ADDRESS, which must be given.
void addAddress(const CommandLine::Options& command, CameraOptions& options);

/// Adds ADDRESS and --from, one of which must be given.
void addAddressOrDescription(const CommandLine::Options& command, CameraOptions& options);

/// Adds ADDRESS, --from and --all, one of which must be given.
void addAnyCameras(const CommandLine::Options& command, CameraOptions& options);

} // namespace Console
