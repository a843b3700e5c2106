#include "SimulateOptions.h"

#include "Camera/CameraSet.h"
#include "Camera/Ipv4.h"
#include "Camera/SettingTable.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Console {

namespace {

constexpr double longestRunSeconds = 1e6;

/// What a text must be, in the words of the command line.
void addCheck(CLI::Option& option, Simulator::TextKind kind) {
    if (kind == Simulator::TextKind::servedAddress)
        option.check(CLI::ValidIPV4);
    if (kind == Simulator::TextKind::protocol)
        option.check(CLI::IsMember({"static", "DHCP"}));
    if (kind == Simulator::TextKind::address)
        option.check([](const std::string& given) {
            return Simulator::ipv4FromText(given) ? std::string() : "\"" + given + "\" is no IPv4 address";
        });
}

/// Adds the option of a setting, as each kind of value stands on a command line.
struct OptionMaker {
    CLI::App& command;
    Simulator::CameraEntry& camera;
    const Simulator::Setting& setting;

    CLI::Option* operator()(Simulator::Apply<const std::string&> apply) const {
        if (setting.kind == Simulator::TextKind::repeated)
            return optionOf<std::vector<std::string>>([apply](auto& entry, const auto& texts) {
                       for (const std::string& text : texts)
                           apply(entry, text);
                   })
                ->allow_extra_args(false);
        CLI::Option* const option = optionOf<std::string>(apply);
        addCheck(*option, setting.kind);
        return option;
    }

    CLI::Option* operator()(Simulator::Apply<bool> apply) const {
        return command.add_flag_callback(
            setting.option(), [apply, &entry = camera] { apply(entry, true); }, setting.help);
    }

    template <typename Number>
    CLI::Option* operator()(Simulator::Apply<Number> apply) const {
        return optionOf<Number>(apply);
    }

private:
    /// The simulator's complaint about a value becomes the option's.
    template <typename Value, typename Use>
    CLI::Option* optionOf(Use apply) const {
        return command.add_option_function<Value>(
            setting.option(),
            [apply, name = setting.option(), &entry = camera](const Value& value) {
                try {
                    apply(entry, value);
                } catch (const std::invalid_argument& error) {
                    throw CLI::ValidationError(name, error.what());
                }
            },
            setting.help);
    }
};

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

} // namespace

std::vector<Simulator::CameraEntry> camerasToServe(const SimulateOptions& options) {
    if (options.configFile.empty())
        return {options.camera};
    std::vector<Simulator::CameraEntry> cameras;
    unsigned number = 0;
    for (Simulator::CameraEntry& entry : Simulator::readCameraSet(options.configFile)) {
        ++number;
        if (options.onlyNumber.value_or(number) == number &&
            options.onlyAddress.value_or(entry.address) == entry.address)
            cameras.push_back(std::move(entry));
    }
    if (cameras.empty())
        throw Simulator::CameraSetError(options.configFile + ": none of its " + std::to_string(number) +
                                        " cameras is the one asked for");
    return cameras;
}

void addSimulateOptions(CLI::App& command, SimulateOptions& options) {
    std::vector<CLI::Option*> ofOneCamera;
    for (const Simulator::Setting& setting : Simulator::settingTable()) {
        ofOneCamera.push_back(std::visit(OptionMaker{command, options.camera, setting}, setting.apply));
        ofOneCamera.back()->option_text(std::string(setting.placeholder));
    }
    addConfigOptions(command, options, ofOneCamera);
    addRunOptions(command, options);
    command.footer(
        Simulator::faultHelp() +
        "\nThe configuration file is {\"cameras\": [{\"address\": \"10.77.1.11\", \"room\": \"Lab 2\", "
        "\"faults\": [\"version:silent\"]}, ...]}; the other keys of a camera are the options "
        "above without their hyphens in front. The picture of a scene file:PATH lies beside the "
        "configuration or below it, and its path starts there.\n"
        "\nExit status: 0 the time was over or Ctrl-C came; 1 a port is taken, the address is not "
        "this computer's, or the configuration or the scene's file cannot be served; 2 wrong "
        "usage.");
}

} // namespace Console
