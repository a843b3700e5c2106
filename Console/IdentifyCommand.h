#pragma once
// `korva identify` and `korva describe`: who a camera is.

#include "CameraOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

namespace Console {

struct IdentityOptions {
    CameraOptions camera;
    bool json = false;
};

/// Adds the options of each command; `options` must outlive the parse.
void addIdentifyOptions(const CommandLine::Options& command, IdentityOptions& options);
void addDescribeOptions(const CommandLine::Options& command, IdentityOptions& options);

/// Says who the camera at an address is, with its MAC address if it is on a network of this computer. Never
/// throws.
ExitStatus runIdentify(const IdentityOptions& options, const CommonOptions& common);

/// Prints the stored description (XML) of the camera at an address. Never throws.
ExitStatus runDescribe(const IdentityOptions& options, const CommonOptions& common);

} // namespace Console
