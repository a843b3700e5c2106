// korva: takes pictures from a Korva camera, or plays one.

#include "CaptureCommand.h"
#include "CaptureOptions.h"
#include "CommonOptions.h"
#include "ExitStatus.h"
#include "SimulateCommand.h"
#include "SimulateOptions.h"

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

/// Says what is wrong with the command line, or gives the help that was asked for; returns the library's exit
/// code. Of a word that is no command the library by itself says only that a command is missing.
int answerTo(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    const bool missesCommand = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
    if (missesCommand && app.get_subcommands().empty() && !unknown.empty())
        return app.exit(CLI::ExtrasError(app.get_name(), unknown));
    return app.exit(error);
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

Console::ExitStatus run(int argc, char** argv) {
    using Console::ExitStatus;
    CLI::App app("Takes pictures from Korva network cameras.", "korva");
    app.require_subcommand(1);
    Console::CommonOptions common;
    Console::CaptureOptions captureOptions;
    Console::SimulateOptions simulateOptions;
    addCommonOptions(app, common);
    CLI::App* const capture = app.add_subcommand("capture", "Take pictures from a camera");
    addCaptureOptions(*capture, captureOptions);
    addCommonOptions(*capture, common);
    CLI::App* const simulate = app.add_subcommand("simulate", "Play a camera on the network");
    addSimulateOptions(*simulate, simulateOptions);
    addCommonOptions(*simulate, common);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return answerTo(app, error) == 0 ? ExitStatus::done : ExitStatus::wrongUsage;
    }
    if (*simulate)
        return Console::runSimulate(simulateOptions, common);
    return Console::runCapture(captureOptions, common);
}

} // namespace

int main(int argc, char** argv) {
    useUtf8Locale();
    return static_cast<int>(run(argc, argv));
}
