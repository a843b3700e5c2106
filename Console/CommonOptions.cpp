#include "CommonOptions.h"

#include "Printable.h"

#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace Console {

namespace {

constexpr const char* group = "Common options";

std::pair<std::string, std::string> splitSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos)
        throw CommandLine::WrongUsage("\"" + text + "\" is not of the form NAME=VALUE");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

/// The folder is as the host names it from now on, which is text whatever the name was.
void useFolder(const std::string& name) {
    ReferenceHost::setImagesSubDirectory(Platform::wideFromUtf8(name));
    const std::string folder = Platform::utf8FromWide(PlenarDiagnostics::getImagesSubDirectory());
    std::error_code code;
    std::filesystem::create_directories(std::filesystem::path(std::u8string(folder.begin(), folder.end())),
                                        code);
    if (code)
        throw std::runtime_error("cannot make the diagnostics folder " + printable(folder) + ": " +
                                 code.message());
}

std::string whereDumpsGo() {
    const ReferenceHost::OwnImagesFolder own = ReferenceHost::makeOwnImagesFolder();
    if (own.complaint.empty())
        return "fetched picture files are dumped into " + printable(own.name);
    return "warning: fetched picture files are not dumped: " + printable(own.name) + " " + own.complaint +
           "; try: --diagnostics DIR";
}

} // namespace

void addCommonOptions(const CommandLine::Options& app, CommonOptions& options) {
    app.addHelp("-h,--help", "Print this help and exit").group(group);
    app.addVersion("--version", std::string("korva ") + KORVA_VERSION, "Print the version and exit")
        .group(group);
    app.add("--log", options.log.level,
            "Show the plug-in's log lines of this level and above on standard error; off unless given. "
            "At trace, fetched picture files are dumped into the diagnostics folder too")
        .placeholder("off|error|warn|info|debug|trace")
        .anyCaseOf({"off", "error", "warn", "info", "debug", "trace"})
        .group(group);
    app.add("--log-config", options.log.configFile,
            "Set logging up from this log4cxx configuration file (properties, or XML if it ends in .xml)")
        .placeholder("FILE")
        .existingFile()
        .group(group);
    app.add("--diagnostics", options.diagnosticsFolder,
            "Folder for dumped picture files, made if it is missing; by default korva-diagnostics, "
            "closed to other users, in $XDG_STATE_HOME or ~/.local/state")
        .placeholder("DIR")
        .group(group);
    app.addEach(
           "--setting",
           [&options](const std::string& text) { options.settings.push_back(splitSetting(text)); },
           "Set a developer setting of the host; may be repeated")
        .placeholder("NAME=VALUE")
        .group(group);
}

std::string applyToHost(const CommonOptions& options) {
    for (const auto& [name, value] : options.settings)
        ReferenceHost::setDeveloperSetting(name, value);
    if (!options.diagnosticsFolder.empty()) {
        useFolder(options.diagnosticsFolder);
        return {};
    }
    // Of a logging configuration nobody knows here whether it has the plug-in dump.
    const bool isDumping = options.log.level == "trace" && options.log.configFile.empty();
    return isDumping ? whereDumpsGo() : std::string();
}

} // namespace Console
