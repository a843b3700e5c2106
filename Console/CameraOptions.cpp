#include "CameraOptions.h"

#include "Diagnosis/Rules.h"

#include <algorithm>
#include <optional>

namespace Console {

namespace {

constexpr auto addressHelp = "The camera's IPv4 address or host name";

/// Why it cannot be a camera's, empty if it can.
std::string complaintAbout(const std::string& address) {
    const std::optional<Diagnosis::Verdict> verdict = Diagnosis::verdictOnAddress(address);
    return verdict ? "\"" + address + "\" " + verdict->text + "; try: " + verdict->remedy : std::string();
}

void addAddressesTo(const CommandLine::Options& command, CameraOptions& options) {
    command.add("ADDRESS", options.addresses, std::string(addressHelp) + "; may be repeated")
        .placeholder("...")
        .check(complaintAbout);
}

void addDescriptionTo(const CommandLine::Options& command, CameraOptions& options) {
    command
        .add("--from", options.descriptionFile,
             "The camera of this stored description, as `korva describe` prints it")
        .placeholder("FILE.xml")
        .check([](const std::string& file) {
            return file.empty() ? std::string("the file's name is empty") : std::string();
        });
}

CommandLine::Options addOneOf(const CommandLine::Options& command) {
    return command.addOneOf("Camera", "Exactly one of these says which cameras");
}

} // namespace

std::vector<std::string> CameraOptions::eachAddress() const {
    std::vector<std::string> each;
    const auto add = [&each](const std::string& text) {
        if (!text.empty() && std::find(each.begin(), each.end(), text) == each.end())
            each.push_back(text);
    };
    add(address);
    std::for_each(addresses.begin(), addresses.end(), add);
    return each;
}

void addPluginOption(const CommandLine::Options& command, CameraOptions& options) {
    command
        .add("--plugin", options.pluginFile,
             "The plug-in to load; the one beside the tool, or in ../lib, unless given")
        .placeholder("FILE");
    addTimeLimits(command, options.limits);
}

void addAddress(const CommandLine::Options& command, CameraOptions& options) {
    command.add("ADDRESS", options.address, addressHelp).placeholder(" ").check(complaintAbout).required();
}

void addAddresses(const CommandLine::Options& command, CameraOptions& options) {
    addAddressesTo(command, options);
}

void addAnyCameras(const CommandLine::Options& command, CameraOptions& options) {
    const CommandLine::Options group = addOneOf(command);
    addAddressesTo(group, options);
    addDescriptionTo(group, options);
    group.addFlag("--all", options.all, "Every camera that a search of the local networks finds")
        .placeholder(" ");
}

} // namespace Console
