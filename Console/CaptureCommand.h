#pragma once
// `korva capture`: takes pictures from a camera and writes them as PNG files.

#include "CaptureOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"

namespace Console {

/// Takes the pictures through the plug-in, of several cameras at a time, and writes each as it comes. A
/// picture's line, or the one JSON object, or with `--output -` the picture, goes to standard output;
/// everything else to standard error, a failure as one line that says what failed, where, and what to try. A
/// camera's first failure ends its pictures and nobody else's; Ctrl-C ends all of them; files of pictures
/// taken before stay. ExitStatus::partlyFailed where there are pictures all the same. Never throws.
ExitStatus runCapture(const CaptureOptions& options, const CommonOptions& common);

} // namespace Console
