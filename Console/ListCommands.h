#pragma once
// `korva discover`, `korva identify` and `korva describe`: who the cameras are.

#include "CameraOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

namespace Console {

struct IdentityOptions {
    CameraOptions camera;
    bool json = false;
};

/// Adds the options of each command; `options` must outlive the parse.
void addDiscoverOptions(const CommandLine::Options& command, IdentityOptions& options);
void addIdentifyOptions(const CommandLine::Options& command, IdentityOptions& options);
void addDescribeOptions(const CommandLine::Options& command, IdentityOptions& options);

/// Searches the local networks. A line for each camera as it is found on standard output, where options.json
/// on standard error and then one JSON object on standard output. To find none is no failure, and to find
/// some before the search was cut is none but a warning. Never throws.
ExitStatus runDiscover(const IdentityOptions& options, const CommonOptions& common);

/// Says who the camera at an address is. Never throws.
ExitStatus runIdentify(const IdentityOptions& options, const CommonOptions& common);

/// Prints the stored description (XML) of the camera at an address. Never throws.
ExitStatus runDescribe(const IdentityOptions& options, const CommonOptions& common);

} // namespace Console
