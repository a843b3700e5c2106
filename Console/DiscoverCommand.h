#pragma once
// `korva discover`: which cameras there are, and whether they can be used.

#include "CameraOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

#include <chrono>

namespace Console {

struct DiscoverOptions {
    CameraOptions camera; ///< without addresses: the local networks are searched
    bool json = false;
    bool watch = false;
    std::chrono::milliseconds timeout{0}; ///< further searches until then; 0: one search
};

/// Adds the options of `korva discover`; `options` must outlive the parse.
void addDiscoverOptions(const CommandLine::Options& command, DiscoverOptions& options);

/// Searches the local networks, or asks the addresses of `options`. A line for each who answered and a last
/// one on standard output; where options.json on standard error, and then one JSON object on standard output.
/// With options.watch a line for each camera that comes, changes or goes, until Ctrl-C. Never throws.
ExitStatus runDiscover(const DiscoverOptions& options, const CommonOptions& common);

} // namespace Console
