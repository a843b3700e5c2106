#pragma once
// What the command line of `korva simulate` says.

#include "Camera/CameraSettings.h"
#include "Network/CameraServer.h"

#include <chrono>
#include <optional>
#include <string_view>

namespace CLI {
class App;
}

namespace Console {

struct SimulateOptions {
    Simulator::CameraSettings camera;
    Simulator::ServerOptions server; ///< a port of 0 lets the system choose; its log is left alone
    std::optional<std::chrono::milliseconds> runTime; ///< unset: until Ctrl-C
};

/// Adds the options of `korva simulate` to its command; `options` must outlive the parse.
void addSimulateOptions(CLI::App& command, SimulateOptions& options);

/// "1676x1266" as a size. Nothing where the text is not two numbers from 1 to 65535 with an x between them.
std::optional<Simulator::PictureSize> pictureSizeFromText(std::string_view text);

} // namespace Console
