#pragma once
// `korva capture`: takes pictures from a camera and writes them as PNG files.

#include "CaptureOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

namespace Console {

/// Takes options.count pictures through the plug-in and writes each as it comes. A picture's line, or the one
/// JSON object, goes to standard output; everything else to standard error, a failure as one line that says
/// what failed, where, and what to try. Ends with ExitStatus::failed on a camera's first failure, or with the
/// others' pictures where it takes those of all cameras, and on Ctrl-C; files of pictures taken before stay.
/// Never throws.
ExitStatus runCapture(const CaptureOptions& options, const CommonOptions& common);

} // namespace Console
