#include "SimulateOptions.h"

#include "CommonOptions.h"

#include "Camera/CameraSet.h"
#include "Camera/Ipv4.h"
#include "Camera/SettingTable.h"

#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Console {

namespace {

using CommandLine::Option;
using CommandLine::Options;
using CommandLine::WrongUsage;

constexpr double longestRunSeconds = 1e6;

/// What a text must be, in the words of the command line.
void addCheck(Option option, Simulator::TextKind kind) {
    if (kind == Simulator::TextKind::servedAddress)
        option.ipv4();
    if (kind == Simulator::TextKind::protocol)
        option.oneOf({"static", "DHCP"});
    if (kind == Simulator::TextKind::address)
        option.check([](const std::string& given) {
            return Simulator::ipv4FromText(given) ? std::string() : "\"" + given + "\" is no IPv4 address";
        });
}

/// Adds the option of a setting, as each kind of value stands on a command line.
struct OptionMaker {
    const Options& command;
    Simulator::CameraEntry& camera;
    const Simulator::Setting& setting;

    Option operator()(Simulator::Apply<const std::string&> apply) const {
        if (setting.kind == Simulator::TextKind::repeated)
            return command.addEach(setting.option(), applied<std::string>(apply), setting.help);
        const Option option = command.addUse(setting.option(), applied<std::string>(apply), setting.help);
        addCheck(option, setting.kind);
        return option;
    }

    Option operator()(Simulator::Apply<bool> apply) const {
        return command.addFlag(
            setting.option(), [apply, &entry = camera] { apply(entry, true); }, setting.help);
    }

    template <typename Number>
    Option operator()(Simulator::Apply<Number> apply) const {
        return command.addUse(setting.option(), applied<Number>(apply), setting.help);
    }

private:
    /// The simulator's complaint about a value becomes the option's.
    template <typename Value, typename Apply>
    std::function<void(const Value&)> applied(Apply apply) const {
        return [apply, &entry = camera](const Value& value) {
            try {
                apply(entry, value);
            } catch (const std::invalid_argument& error) {
                throw WrongUsage(error.what());
            }
        };
    }
};

void addRunOptions(const Options& command, SimulateOptions& options) {
    command
        .addUse<double>(
            "--for",
            [&options](const double& seconds) {
                const bool possible =
                    seconds >= 0.0 && seconds <= longestRunSeconds; // not a number is neither
                if (!possible)
                    throw WrongUsage("the time is 0 to 1000000 seconds");
                options.runTime = std::chrono::milliseconds(std::llround(seconds * 1000.0));
            },
            "End after so many seconds; without it, Ctrl-C does")
        .placeholder("SECONDS");
}

void addConfigOptions(const Options& command, SimulateOptions& options,
                      const std::vector<Option>& ofOneCamera) {
    const Option config =
        command
            .add("--config", options.configFile,
                 "JSON file of a set of cameras, all served at once, see below; not with the options above")
            .placeholder("FILE");
    for (const Option option : ofOneCamera)
        config.excludes(option);
    command.add("--camera", options.onlyNumber, "Of the set, only the camera of this number, from 1")
        .placeholder("N")
        .needs(config);
    command.add("--only", options.onlyAddress, "Of the set, only the camera at this address")
        .placeholder("ADDRESS")
        .needs(config)
        .ipv4();
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

void addSimulateOptions(const Options& command, SimulateOptions& options) {
    std::vector<Option> ofOneCamera;
    for (const Simulator::Setting& setting : Simulator::settingTable()) {
        ofOneCamera.push_back(std::visit(OptionMaker{command, options.camera, setting}, setting.apply));
        ofOneCamera.back().placeholder(std::string(setting.placeholder));
    }
    addConfigOptions(command, options, ofOneCamera);
    addRunOptions(command, options);
    addJson(command, options.json, " once the cameras are served, instead of words");
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
