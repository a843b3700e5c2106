// korva: finds Korva cameras, takes pictures with them, or plays them.

#include "CaptureCommand.h"
#include "CaptureOptions.h"
#include "CommandRun.h"
#include "CommonOptions.h"
#include "ExitStatus.h"
#include "HealthCommand.h"
#include "ListCommands.h"
#include "Printable.h"
#include "SimulateCommand.h"
#include "SimulateOptions.h"

#include "Platform/Memory.h"
#include "Platform/StandardStreams.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Console::ExitStatus;

/// An argument that is echoed may be of any bytes.
std::string complaint(const CLI::App* app, const CLI::Error& error) {
    const CLI::Error shown(error.get_name(), Console::printable(error.what()), error.get_exit_code());
    return CLI::FailureMessage::simple(app, shown);
}

/// Says what is wrong with the command line, or gives the help that was asked for. Of a word that is no
/// command the library by itself says only that a command is missing.
ExitStatus answerTo(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    const bool missesCommand = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
    const bool missesOnlyThat = missesCommand && app.get_subcommands().empty() && !unknown.empty();
    std::ostringstream help;
    std::ostringstream wrong;
    const int code = missesOnlyThat ? app.exit(CLI::ExtrasError(app.get_name(), unknown), help, wrong)
                                    : app.exit(error, help, wrong);
    if (code == 0)
        return Console::print(help.str());
    std::fputs(wrong.str().c_str(), stderr);
    return ExitStatus::wrongUsage;
}

/// Under a locale without UTF-8 the logging library turns every byte above 127 into a question mark.
void useUtf8Locale() {
    std::setlocale(LC_ALL, "");
    wchar_t wide = 0;
    const bool utf8 = std::mbtowc(&wide, "\xC3\xA9", 2) == 2 && wide == L'\u00E9';
    if (!utf8)
        std::setlocale(LC_ALL, "C.UTF-8");
    std::setlocale(LC_NUMERIC, "C");
}

/// A picture passes through some 80 MB of buffers; the next one uses the same pages.
constexpr std::size_t keptBytes = std::size_t{128} << 20;

/// One command of the tool, with its options.
struct Command {
    CLI::App* app;
    std::function<ExitStatus()> run;
};

ExitStatus run(int argc, char** argv) {
    CLI::App app("Finds Korva network cameras and takes pictures with them.", "korva");
    app.require_subcommand(1);
    app.failure_message(complaint);
    Console::CommonOptions common;
    addCommonOptions(app, common);
    std::vector<Command> commands;
    const auto add = [&](const char* name, const char* help, const auto& addOptions, auto& options,
                         const auto& runIt) {
        CLI::App* const command = app.add_subcommand(name, help);
        addOptions(*command, options);
        addCommonOptions(*command, common);
        commands.push_back({command, [&] { return runIt(options, common); }});
    };
    Console::IdentityOptions discover;
    Console::IdentityOptions identify;
    Console::IdentityOptions describe;
    Console::CaptureOptions capture;
    Console::HealthOptions health;
    Console::SimulateOptions simulate;
    add("discover", "Find the cameras on the local networks", Console::addDiscoverOptions, discover,
        Console::runDiscover);
    add("identify", "Say who a camera is", Console::addIdentifyOptions, identify, Console::runIdentify);
    add("capture", "Take pictures", Console::addCaptureOptions, capture, Console::runCapture);
    add("describe", "Print a camera's stored description (XML)", Console::addDescribeOptions, describe,
        Console::runDescribe);
    add("health", "Ask a camera whether it answers", Console::addHealthOptions, health, Console::runHealth);
    add("simulate", "Play a camera on the network", Console::addSimulateOptions, simulate,
        Console::runSimulate);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return answerTo(app, error);
    }
    const auto chosen = std::find_if(commands.begin(), commands.end(),
                                     [](const Command& command) { return command.app->parsed(); });
    return chosen->run();
}

} // namespace

int main(int argc, char** argv) {
    Platform::openClosedStandardStreams();
    useUtf8Locale();
    Platform::keepFreedMemory(keptBytes);
    return static_cast<int>(Console::guarded([&] { return run(argc, argv); }));
}
