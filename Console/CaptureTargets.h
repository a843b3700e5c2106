#pragma once
// Whose pictures `korva capture` takes.

#include "CameraJob.h"
#include "Twins.h"

#include <optional>
#include <string>
#include <vector>

namespace Console {

/// The cameras that the command line names, or that a search has found.
struct CaptureTargets {
    std::vector<CaptureTarget> cameras;
    std::vector<Diagnosis::Verdict> unusable;        ///< why others that answered the search cannot be used
    std::vector<Diagnosis::Verdict> warnings;        ///< of the search
    std::optional<Diagnosis::Verdict> searchTrouble; ///< why cameras may be missing; among the warnings
    Twins twins;                                     ///< that the search has told of
};

/// Searches if options.camera.all says so, which blocks, and asks nobody else: each target does that itself,
/// on the thread that wants its camera. `host` and `options` outlive them. Throws CommandFailure if the
/// search found nobody (ExitStatus::nothingFound) or could not be made.
CaptureTargets findTargets(const CaptureOptions& options, const CameraHost& host);

} // namespace Console
