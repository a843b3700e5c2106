#pragma once
// All that can be looked at, looked at once.

#include "CameraOptions.h"

#include "Diagnosis/Facts.h"
#include "Diagnosis/Verdict.h"

#include <optional>
#include <vector>

namespace Console {

class ProgressBar;
class ToolLog;

struct Examination {
    Diagnosis::Facts facts;
    Diagnosis::Facts after;                          ///< the computer alone, once all was done
    std::optional<Diagnosis::Verdict> pluginFailure; ///< why no camera was asked through the plug-in
};

/// Looks at this computer and its networks, then at the cameras at the options' addresses, or where there are
/// none at whoever answers a search; has the plug-in identify each that answers as a camera, probe it and
/// take a picture. A look that fails is a fact. Throws CommandFailure if Ctrl-C came.
/// Shows on `status` what it is at.
Examination examine(const CameraOptions& options, ToolLog& log, ProgressBar& status);

/// What is wrong, the likeliest cause first: what has become of this computer's adapters meanwhile before
/// what that looks like at the cameras.
std::vector<Diagnosis::Verdict> causesOf(const Examination& seen);

} // namespace Console
