#include "SimulateOptions.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace Console {

namespace {

constexpr double longestRunSeconds = 1e6;

std::optional<std::uint32_t> sideFromText(std::string_view text) {
    std::uint32_t side = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, side);
    constexpr std::uint32_t longestSide = 65535;
    if (parsed.ec != std::errc() || parsed.ptr != end || side == 0 || side > longestSide)
        return std::nullopt;
    return side;
}

/// Runs a parser of the simulator; its complaint becomes the option's.
template <typename Parse>
auto parsedBy(Parse parse, const std::string& option, const std::string& text) {
    try {
        return parse(text);
    } catch (const std::invalid_argument& error) {
        throw CLI::ValidationError(option, error.what());
    }
}

void addCameraOptions(CLI::App& command, Simulator::CameraSettings& camera) {
    command
        .add_option("--model", camera.model, "The camera's model: M61 (unless given), M615, M62 or any text")
        ->option_text("MODEL");
    command.add_option("--firmware", camera.firmware, "The camera's firmware version; 3.2.15 unless given")
        ->option_text("VERSION");
    command
        .add_option_function<std::string>(
            "--size",
            [&camera](const std::string& text) {
                camera.size = pictureSizeFromText(text);
                if (!camera.size)
                    throw CLI::ValidationError("--size",
                                               "\"" + text + "\" is not WIDTHxHEIGHT, 1 to 65535 each");
            },
            "Size of the pictures; the model's unless given")
        ->option_text("WxH");
    command
        .add_option_function<std::string>(
            "--scene",
            [&camera](const std::string& text) {
                camera.scene = parsedBy(Simulator::parseScene, "--scene", text);
            },
            "What the camera looks at: grid (unless given), ramp, black, white, noise, or a PNG or SGI file "
            "as file:PATH, which is served as it is")
        ->option_text("SCENE");
    command.add_option("--seed", camera.seed, "Seed of the sensor's noise; 1 unless given")->option_text("N");
    command.add_flag("--wait-exposure", camera.waitExposure,
                     "Answer a take request only after the exposure time, as a real camera does");
    command
        .add_option_function<std::vector<std::string>>(
            "--fault",
            [&camera](const std::vector<std::string>& texts) {
                for (const std::string& text : texts)
                    camera.faults.push_back(parsedBy(Simulator::parseFault, "--fault", text));
            },
            "What goes wrong, see below; may be repeated")
        ->option_text("FAULT")
        ->allow_extra_args(false);
}

void addServerOptions(CLI::App& command, SimulateOptions& options) {
    command.add_option("--address", options.server.address, "Address to serve on; 127.0.0.1 unless given")
        ->option_text("ADDRESS")
        ->check(CLI::ValidIPV4);
    command
        .add_option("--port", options.server.binaryTcpPort,
                    "TCP port of the binary protocol; 32769 unless given, 0 lets the system choose")
        ->option_text("PORT");
    command
        .add_option_function<std::uint16_t>(
            "--text-port",
            [&options](const std::uint16_t& port) {
                options.server.textTcpPort = port;
                options.server.discoveryUdpPort = port;
            },
            "TCP and UDP port of the text language; 32768 unless given, 0 lets the system choose")
        ->option_text("PORT");
    command
        .add_option_function<double>(
            "--for",
            [&options](const double& seconds) {
                const bool possible =
                    seconds >= 0.0 && seconds <= longestRunSeconds; // not a number is neither
                if (!possible)
                    throw CLI::ValidationError("--for", "the time is 0 to 1000000 seconds");
                options.runTime = std::chrono::milliseconds(std::llround(seconds * 1000.0));
            },
            "End after so many seconds; without it, Ctrl-C does")
        ->option_text("SECONDS");
}

} // namespace

std::optional<Simulator::PictureSize> pictureSizeFromText(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos)
        return std::nullopt;
    const auto width = sideFromText(text.substr(0, cross));
    const auto height = sideFromText(text.substr(cross + 1));
    if (!width || !height)
        return std::nullopt;
    return Simulator::PictureSize{*width, *height};
}

void addSimulateOptions(CLI::App& command, SimulateOptions& options) {
    addServerOptions(command, options);
    addCameraOptions(command, options.camera);
    command.footer(Simulator::faultHelp() +
                   "\nExit status: 0 the time was over or Ctrl-C came; 1 a port is taken, the address is not "
                   "this computer's, or the scene's file cannot be served; 2 wrong usage.");
}

} // namespace Console
