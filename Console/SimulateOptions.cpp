#include "SimulateOptions.h"

#include "Camera/CameraSet.h"
#include "Camera/Ipv4.h"

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
                camera.size = Simulator::pictureSizeFromText(text);
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
    command
        .add_flag("--wait-exposure", camera.waitExposure,
                  "Answer a take request only after the exposure time, as a real camera does")
        ->option_text(" ");
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

/// An option whose text must be one that `isRight` takes.
template <typename IsRight>
void addCheckedText(CLI::App& command, const std::string& option, std::string& text, IsRight isRight,
                    const std::string& due, const std::string& help) {
    command.add_option(option, text, help)
        ->option_text("ADDRESS")
        ->check([isRight, due](const std::string& given) {
            return isRight(given) ? std::string() : "\"" + given + "\" is " + due;
        });
}

void addServiceOption(CLI::App& command, const std::string& option, Simulator::Service& service,
                      const std::string& language) {
    command
        .add_option_function<std::string>(
            option,
            [option, &service](const std::string& text) {
                const auto given = Simulator::serviceFromText(text);
                if (!given)
                    throw CLI::ValidationError(option,
                                               "\"" + text + "\" is none of answered, silent, refused");
                service = *given;
            },
            "How the camera treats " + language + ": answered (unless given), silent or refused")
        ->option_text("HOW");
}

/// What the camera says in discovery and in the text language.
void addIdentityOptions(CLI::App& command, Simulator::CameraSettings& camera) {
    const auto isAddress = [](const std::string& text) { return Simulator::ipv4FromText(text).has_value(); };
    command.add_option("--room", camera.room, "The room that the camera announces; Lab unless given")
        ->option_text("TEXT");
    addCheckedText(command, "--announce", camera.announcedAddress, isAddress, "no IPv4 address",
                   "The address that the camera announces; the one it is served on unless given");
    command.add_option("--serial", camera.serialNumber, "The camera's serial number; 1234 unless given")
        ->option_text("TEXT");
    command.add_option("--api", camera.api, "The camera's interface version; 1.4 unless given")
        ->option_text("VERSION");
    command.add_option("--hardware", camera.hardware, "The hardware identifier; the model unless given")
        ->option_text("TEXT");
    addCheckedText(
        command, "--netmask", camera.netMask,
        [](const std::string& text) { return Simulator::netMaskFromText(text).has_value(); },
        "no net mask such as 255.255.255.0",
        "Net mask of the address, which says at which broadcasts the camera is heard; 255.255.255.0 unless "
        "given");
    addCheckedText(command, "--gateway", camera.gateway, isAddress, "no IPv4 address",
                   "The camera's default gateway; 0.0.0.0 unless given");
    command.add_option("--protocol", camera.networkProtocol, "static (unless given) or DHCP")
        ->option_text("HOW")
        ->check(CLI::IsMember({"static", "DHCP"}));
    addServiceOption(command, "--discovery", camera.discovery, "discovery queries");
    addServiceOption(command, "--text", camera.text, "the text language");
    addServiceOption(command, "--binary", camera.binary, "the binary protocol");
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
}

void addRunOptions(CLI::App& command, SimulateOptions& options) {
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

void addConfigOptions(CLI::App& command, SimulateOptions& options,
                      const std::vector<CLI::Option*>& ofOneCamera) {
    CLI::Option* const config =
        command
            .add_option(
                "--config", options.configFile,
                "JSON file of a set of cameras, all served at once, see below; not with the options above")
            ->option_text("FILE");
    for (CLI::Option* const option : ofOneCamera)
        config->excludes(option);
    command.add_option("--camera", options.onlyNumber, "Of the set, only the camera of this number, from 1")
        ->option_text("N")
        ->needs(config);
    command.add_option("--only", options.onlyAddress, "Of the set, only the camera at this address")
        ->option_text("ADDRESS")
        ->needs(config)
        ->check(CLI::ValidIPV4);
}

ServedCamera servedCamera(Simulator::CameraEntry entry) {
    ServedCamera camera{std::move(entry.settings), {}};
    camera.server.address = std::move(entry.address);
    camera.server.binaryTcpPort = entry.binaryTcpPort;
    camera.server.textTcpPort = camera.server.discoveryUdpPort = entry.textTcpAndUdpPort;
    return camera;
}

} // namespace

std::vector<ServedCamera> camerasToServe(const SimulateOptions& options) {
    if (options.configFile.empty())
        return {{options.camera, options.server}};
    std::vector<ServedCamera> cameras;
    unsigned number = 0;
    for (Simulator::CameraEntry& entry : Simulator::readCameraSet(options.configFile)) {
        ++number;
        if (options.onlyNumber.value_or(number) == number &&
            options.onlyAddress.value_or(entry.address) == entry.address)
            cameras.push_back(servedCamera(std::move(entry)));
    }
    if (cameras.empty())
        throw Simulator::CameraSetError(options.configFile + ": none of its " + std::to_string(number) +
                                        " cameras is the one asked for");
    return cameras;
}

void addSimulateOptions(CLI::App& command, SimulateOptions& options) {
    addServerOptions(command, options);
    addCameraOptions(command, options.camera);
    addIdentityOptions(command, options.camera);
    const std::vector<CLI::Option*> ofOneCamera =
        command.get_options([](const CLI::Option* option) { return option->get_name() != "--help"; });
    addConfigOptions(command, options, ofOneCamera);
    addRunOptions(command, options);
    command.footer(
        Simulator::faultHelp() +
        "\nThe configuration file is {\"cameras\": [{\"address\": \"10.77.1.11\", \"room\": \"Lab 2\", "
        "\"faults\": [\"version:silent\"]}, ...]}; the other keys of a camera are the options "
        "above without their hyphens in front.\n"
        "\nExit status: 0 the time was over or Ctrl-C came; 1 a port is taken, the address is not "
        "this computer's, or the configuration or the scene's file cannot be served; 2 wrong "
        "usage.");
}

} // namespace Console
