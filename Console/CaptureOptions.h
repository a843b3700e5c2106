#pragma once
// What the command line of `korva capture` says.

#include "CameraOptions.h"
#include "CommandLine/CommandLine.h"

#include <optional>
#include <string>
#include <string_view>

namespace Console {

struct CaptureOptions {
    CameraOptions camera;
    int exposureUnits = 15;   ///< units of 100 ms, 1 to 3600
    int count = 1;            ///< pictures of each camera, 1 to 9999
    std::string output;       ///< UTF-8 path of the file, of all cameras the folder; empty: not given
    std::string contactSheet; ///< UTF-8 path; empty: none
    bool json = false;
};

/// Adds the options of `korva capture` to its command; `options` must outlive the parse.
void addCaptureOptions(const CommandLine::Options& command, CaptureOptions& options);

/// Seconds as text ("1.5") in the camera's units of 100 ms. Nothing if the text is no decimal number, is
/// below 0.1 or above 360, or lies between two steps.
std::optional<int> exposureUnitsFromSeconds(std::string_view text);

/// The file of picture `number` (from 1) of the camera at `address`: options.output, or "korva-ADDRESS.png"
/// where that is empty; of all cameras, that name in the folder options.output. Of several pictures of a
/// camera each file bears "-NUMBER" before its extension. The address may be any text; of a long one the name
/// holds the first 64 bytes, so that two cameras' may be the same.
std::string pictureFileName(const CaptureOptions& options, const std::string& address, int number);

} // namespace Console
