#include "CommonOptions.h"

#include "CommandFailure.h"
#include "NearestName.h"
#include "Printable.h"

#include "Diagnosis/Print.h"
#include "Platform/ErrorText.h"
#include "Platform/Path.h"
#include "Platform/PrivateFolder.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "VantrelCommon/PlenarDiagnostics.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <istream>
#include <iterator>
#include <optional>
#include <system_error>

namespace Console {

namespace {

using Diagnosis::Obstacle;
using Diagnosis::Trouble;

constexpr const char* group = "Common options";

/// Those that the plug-in asks the host for.
const std::vector<std::string> settingNames = {"KorvaGetImageDelay", "developerMode",
                                               "enableTimingProfileLogging", "logging.ImageDirectory",
                                               "tradeshow"};

std::pair<std::string, std::string> splitSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == 0 || equals == std::string::npos)
        throw CommandLine::WrongUsage("\"" + text + "\" is not of the form NAME=VALUE");
    const std::string name = text.substr(0, equals);
    if (std::find(settingNames.begin(), settingNames.end(), name) != settingNames.end())
        return {name, text.substr(equals + 1)};
    const std::string nearest = nearestName(name, settingNames);
    std::string known = "known are";
    for (const std::string& each : settingNames)
        known += (known.ends_with("are") ? " " : ", ") + each;
    throw CommandLine::WrongUsage("there is no setting \"" + name + "\"; " +
                                  (nearest.empty() ? known : "try: " + nearest));
}

/// The first key that is none of log4cxx's; nothing if there is no such one. `hasAny` is whether one is.
std::optional<std::string> strangeKey(std::istream& file, bool& hasAny) {
    bool goesOn = false; // a line whose end is a backslash
    for (std::string line; std::getline(file, line);) {
        const std::string text = line.substr(std::min(line.find_first_not_of(" \t\r"), line.size()));
        const bool isComment = text.empty() || text.front() == '#' || text.front() == '!';
        const bool isKnown = text.starts_with("log4j.");
        if (!isKnown && !isComment && !goesOn)
            return text.substr(0, text.find_first_of("=: \t\r"));
        hasAny = hasAny || isKnown;
        goesOn = text.ends_with('\\');
    }
    return std::nullopt;
}

/// Why a file is no configuration of log4cxx's, which itself says nothing of what it does not know; empty if
/// it may be one.
std::string complaintAboutLogging(const std::string& name) {
    const std::filesystem::path path = Platform::pathFromUtf8(name);
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored))
        return {}; // what can be read once is left to log4cxx
    std::ifstream file(path);
    bool hasAny = false;
    if (name.ends_with(".xml")) {
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        hasAny = text.find("configuration") != std::string::npos;
    } else if (const std::optional<std::string> key = strangeKey(file, hasAny)) {
        return "\"" + *key + "\" is no key of a logging configuration: they begin with log4j.";
    }
    return hasAny ? "" : "the file holds no logging configuration";
}

/// The folder is as the host names it from now on, which is text whatever the name was.
void useFolder(const std::string& name) {
    ReferenceHost::setImagesSubDirectory(Platform::wideFromUtf8(name));
    const std::string folder = Platform::utf8FromWide(PlenarDiagnostics::getImagesSubDirectory());
    std::error_code code;
    std::filesystem::create_directories(Platform::pathFromUtf8(folder), code);
    if (code)
        throw CommandFailure(
            Trouble{.what = Obstacle::dumps, .place = folder, .reason = Platform::errorText(code)});
}

std::string whereDumpsGo() {
    const ReferenceHost::OwnImagesFolder own = ReferenceHost::makeOwnImagesFolder();
    if (own.complaint.empty())
        return "fetched picture files are dumped into " + printable(own.name);
    const Trouble none{.what = Obstacle::dumpsHaveNone, .place = own.name, .reason = own.complaint};
    return "warning: " + Diagnosis::lineOf(Diagnosis::verdictOn(none));
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
        .check(complaintAboutLogging)
        .group(group);
    app.add("--diagnostics", options.diagnosticsFolder,
            std::string(
                "Folder for dumped picture files, made if it is missing; by default korva-diagnostics, "
                "closed to other users, in ") +
                Platform::statePlaces)
        .placeholder("DIR")
        .group(group);
    app.addEach(
           "--setting",
           [&options](const std::string& text) { options.settings.push_back(splitSetting(text)); },
           "Set a developer setting of the host; may be repeated")
        .placeholder("NAME=VALUE")
        .group(group);
}

void addJson(const CommandLine::Options& command, bool& json, const std::string& rest) {
    command.addFlag("--json", json, "Print one JSON object on standard output" + rest).placeholder(" ");
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
