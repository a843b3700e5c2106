#include "CameraOptions.h"

#include <CLI/CLI.hpp>

namespace Console {

namespace {

CLI::Option* addAddressTo(CLI::App& command, CameraOptions& options) {
    return command.add_option("ADDRESS", options.address, "The camera's IPv4 address or host name")
        ->option_text(" ")
        ->check([](const std::string& address) {
            return address.empty() ? std::string("the address is empty") : std::string();
        });
}

void addDescriptionTo(CLI::App& command, CameraOptions& options) {
    command
        .add_option("--from", options.descriptionFile,
                    "The camera of this stored description, as `korva describe` prints it")
        ->option_text("FILE.xml")
        ->check([](const std::string& file) {
            return file.empty() ? std::string("the file's name is empty") : std::string();
        });
}

CLI::App& addOneOf(CLI::App& command) {
    CLI::App* const group = command.add_option_group("Camera", "Exactly one of these says which camera");
    group->require_option(1);
    return *group;
}

} // namespace

void addPluginOption(CLI::App& command, CameraOptions& options) {
    command
        .add_option("--plugin", options.pluginFile,
                    "The plug-in to load; the one beside the tool, or in ../lib, unless given")
        ->option_text("FILE");
    addTimeLimits(command, options.limits);
}

void addAddress(CLI::App& command, CameraOptions& options) {
    addAddressTo(command, options)->required();
}

void addAddressOrDescription(CLI::App& command, CameraOptions& options) {
    CLI::App& group = addOneOf(command);
    addAddressTo(group, options);
    addDescriptionTo(group, options);
}

void addAnyCameras(CLI::App& command, CameraOptions& options) {
    CLI::App& group = addOneOf(command);
    addAddressTo(group, options);
    addDescriptionTo(group, options);
    group.add_flag("--all", options.all, "Every camera that a search of the local networks finds")
        ->option_text(" ");
}

} // namespace Console
