#pragma once
// `korva health`: asks a camera whether it answers.

#include "CameraOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

#include "VantrelCommon/NetworkHealth.h"

#include <optional>
#include <string>

namespace Console {

struct HealthOptions {
    CameraOptions camera;
    bool watch = false;
};

/// Adds the options of `korva health`; `options` must outlive the parse.
void addHealthOptions(const CommandLine::Options& command, HealthOptions& options);

/// Probes the camera's connection once, or each second until Ctrl-C, and says on standard output what it
/// found, of repeated probes what is new. ExitStatus::failed where the last probe has failed. Never throws.
ExitStatus runHealth(const HealthOptions& options, const CommonOptions& common);

/// "10.0.0.7:32769: good, the camera answers", or what it reports with its code and meaning, and the reason.
std::string healthLine(const std::string& place, const std::optional<NetworkHealth>& reported,
                       const std::string& reason);

} // namespace Console
