#pragma once
// What the command line of `korva capture` says.

#include <optional>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace Console {

inline constexpr int cameraPort = 32769;

struct CaptureOptions {
    std::string address;    ///< IPv4 address or host name
    int port = cameraPort;  ///< the binary protocol's TCP port
    int exposureUnits = 15; ///< units of 100 ms, 1 to 3600
    int count = 1;          ///< pictures to take, 1 to 9999
    std::string output;     ///< UTF-8 path as given; empty: named after the address
    bool json = false;
};

/// Adds the options of `korva capture` to its command; `options` must outlive the parse.
void addCaptureOptions(CLI::App& command, CaptureOptions& options);

/// Seconds as text ("1.5") in the camera's units of 100 ms. Nothing where the text is no decimal number, is
/// below 0.1 or above 360, or lies between two steps.
std::optional<int> exposureUnitsFromSeconds(std::string_view text);

/// The file of picture `number` (from 1) of `count`: `output`, or "korva-ADDRESS.png" where that is empty. Of
/// several pictures each file bears "-NUMBER" before its extension.
std::string pictureFileName(const CaptureOptions& options, int number);

} // namespace Console
