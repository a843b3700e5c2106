#pragma once
// What the command line of `korva capture` says.

#include "CameraOptions.h"
#include "CommandLine/CommandLine.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Console {

struct CaptureOptions {
    static constexpr const char* standardOutput = "-"; ///< as the name of a file

    CameraOptions camera;
    std::vector<int> exposures = {15};     ///< one after the other, units of 100 ms, 1 to 3600 each
    bool isAutoExposure = false;           ///< look for the exposure that fits, beginning with the first
    int count = 1;                         ///< pictures of each camera with each exposure, 1 to 9999
    int jobs = 16;                         ///< cameras at work at a time, 1 to 64
    std::chrono::milliseconds interval{0}; ///< from the begin of one picture to that of the next; 0: none
    std::string output; ///< UTF-8 path of the file, of several cameras the folder; or a pattern; or empty
    std::string contactSheet;    ///< UTF-8 path; empty: none
    bool keepsFiles = false;     ///< never replace a file
    bool takesAnyCamera = false; ///< also another than the description's
    bool json = false;

    /// Whether there may be more than one.
    bool isOfSeveralCameras() const { return camera.all || camera.eachAddress().size() > 1; }
    int picturesOfEach() const { return count * static_cast<int>(exposures.size()); }
    bool isToStandardOutput() const { return output == standardOutput; }
};

/// Adds the options of `korva capture` to its command; `options` must outlive the parse.
void addCaptureOptions(const CommandLine::Options& command, CaptureOptions& options);

/// Throws CommandFailure (ExitStatus::wrongUsage) for options that do not go together, such as several
/// pictures on standard output.
void requireThatTheyGoTogether(const CaptureOptions& options);

/// Seconds as text ("1.5") in the camera's units of 100 ms. Nothing if the text is no decimal number, is
/// below 0.1 or above 360, or lies between two steps.
std::optional<int> exposureUnitsFromSeconds(std::string_view text);

} // namespace Console
