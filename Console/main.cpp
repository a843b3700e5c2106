// korva: finds Korva cameras, takes pictures with them, or plays them.

#include "CaptureCommand.h"
#include "CaptureOptions.h"
#include "CommandLine/CommandLine.h"
#include "CommandRun.h"
#include "CommonOptions.h"
#include "DiscoverCommand.h"
#include "DoctorCommand.h"
#include "ExitStatus.h"
#include "HealthCommand.h"
#include "IdentifyCommand.h"
#include "NearestName.h"
#include "SimulateCommand.h"
#include "SimulateOptions.h"

#include "Platform/Memory.h"
#include "Platform/Program.h"
#include "Platform/StandardStreams.h"
#include "Platform/Terminal.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Console::ExitStatus;

Diagnosis::Verdict complaintOf(const CommandLine::CommandLine& line,
                               const CommandLine::CommandLine::Reply& reply) {
    const std::string help = "korva " + (reply.command.empty() ? "" : reply.command + " ") + "--help";
    constexpr std::string_view sign = "; try: ";
    const std::size_t at = reply.complaint.rfind(sign);
    std::string remedy = at == std::string::npos ? help : reply.complaint.substr(at + sign.size());
    if (reply.command.empty() && reply.unknown == "simulate")
        return Diagnosis::wrongUsage("this korva plays no cameras", "korva simulate on a Linux computer");
    if (!reply.unknown.empty()) {
        const std::string nearest =
            Console::nearestName(reply.unknown.substr(0, reply.unknown.find('=')), line.names());
        remedy = nearest.empty() ? help : nearest + ", or " + help;
    }
    return Diagnosis::wrongUsage(reply.complaint.substr(0, at), remedy);
}

/// Says what is wrong with the command line, also to programs, or gives the help that was asked for.
ExitStatus answerWith(const CommandLine::CommandLine& line, const CommandLine::CommandLine::Reply& reply,
                      bool json) {
    if (reply.complaint.empty())
        return Console::print(reply.help);
    return Console::fail(complaintOf(line, reply), ExitStatus::wrongUsage, json);
}

/// A picture passes through some 80 MB of buffers; the next one uses the same pages.
constexpr std::size_t keptBytes = std::size_t{128} << 20;

ExitStatus run(const std::vector<std::string>& arguments) {
    const CommandLine::CommandLine line("Finds Korva network cameras and takes pictures with them.", "korva");
    Console::CommonOptions common;
    addCommonOptions(line.options(), common);
    std::map<std::string, std::function<ExitStatus()>> commands;
    const auto add = [&](const char* name, const char* help, const auto& addOptions, auto& options,
                         const auto& runIt) {
        const CommandLine::Options command = line.addCommand(name, help);
        addOptions(command, options);
        addCommonOptions(command, common);
        commands[name] = [&] { return runIt(options, common); };
    };
    Console::DiscoverOptions discover;
    Console::IdentityOptions identify;
    Console::IdentityOptions describe;
    Console::CaptureOptions capture;
    Console::HealthOptions health;
    Console::DoctorOptions doctor;
    Console::SimulateOptions simulate;
    add("discover", "Find the cameras on the local networks", Console::addDiscoverOptions, discover,
        Console::runDiscover);
    add("identify", "Say who a camera is", Console::addIdentifyOptions, identify, Console::runIdentify);
    add("capture", "Take pictures", Console::addCaptureOptions, capture, Console::runCapture);
    add("describe", "Print a camera's stored description (XML)", Console::addDescribeOptions, describe,
        Console::runDescribe);
    add("health", "Ask cameras whether they answer", Console::addHealthOptions, health, Console::runHealth);
    add("doctor", "Look at everything, and say what is wrong", Console::addDoctorOptions, doctor,
        Console::runDoctor);
    if (Console::hasSimulator)
        add("simulate", "Play a camera on the network", Console::addSimulateOptions, simulate,
            Console::runSimulate);
    std::vector<const char*> words;
    words.reserve(arguments.size());
    for (const std::string& argument : arguments)
        words.push_back(argument.c_str());
    if (const auto reply = line.read(static_cast<int>(words.size()), words.data())) {
        const bool json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
        return answerWith(line, *reply, json);
    }
    return commands.at(line.command())();
}

} // namespace

int main(int argc, char** argv) {
    Platform::openClosedStandardStreams();
    // Until a command has something to bring to an end.
    Platform::endAtInterrupts(Diagnosis::lastWordsOfTheInterrupted,
                              static_cast<int>(ExitStatus::interrupted));
    Platform::useUtf8();
    Platform::keepFreedMemory(keptBytes);
    return static_cast<int>(Console::guarded([&] { return run(Platform::programArguments(argc, argv)); }));
}
