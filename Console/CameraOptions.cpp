#include "CameraOptions.h"

namespace Console {

namespace {

using CommandLine::Option;
using CommandLine::Options;

Option addAddressTo(const Options& command, CameraOptions& options) {
    return command.add("ADDRESS", options.address, "The camera's IPv4 address or host name")
        .placeholder(" ")
        .check([](const std::string& address) {
            return address.empty() ? std::string("the address is empty") : std::string();
        });
}

void addDescriptionTo(const Options& command, CameraOptions& options) {
    command
        .add("--from", options.descriptionFile,
             "The camera of this stored description, as `korva describe` prints it")
        .placeholder("FILE.xml")
        .check([](const std::string& file) {
            return file.empty() ? std::string("the file's name is empty") : std::string();
        });
}

Options addOneOf(const Options& command) {
    return command.addOneOf("Camera", "Exactly one of these says which camera");
}

} // namespace

void addPluginOption(const Options& command, CameraOptions& options) {
    command
        .add("--plugin", options.pluginFile,
             "The plug-in to load; the one beside the tool, or in ../lib, unless given")
        .placeholder("FILE");
    addTimeLimits(command, options.limits);
}

void addAddress(const Options& command, CameraOptions& options) {
    addAddressTo(command, options).required();
}

void addAddressOrDescription(const Options& command, CameraOptions& options) {
    const Options group = addOneOf(command);
    addAddressTo(group, options);
    addDescriptionTo(group, options);
}

void addAnyCameras(const Options& command, CameraOptions& options) {
    const Options group = addOneOf(command);
    addAddressTo(group, options);
    addDescriptionTo(group, options);
    group.addFlag("--all", options.all, "Every camera that a search of the local networks finds")
        .placeholder(" ");
}

} // namespace Console
