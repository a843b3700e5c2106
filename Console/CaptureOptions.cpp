#include "CaptureOptions.h"

#include "CommandFailure.h"
#include "CommonOptions.h"
#include "ExitStatus.h"
#include "FileNames.h"

#include "Diagnosis/PictureRules.h"
#include "Platform/Terminal.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <system_error>

namespace Console {

namespace {

using Diagnosis::longestExposure;
using Diagnosis::shortestExposure;

constexpr int mostPictures = 9999;
constexpr int mostJobs = 64;
constexpr std::size_t mostExposures = 20;
constexpr double longestInterval = 86'400.0;

/// A decimal number and nothing else.
std::optional<double> numberIn(std::string_view text) {
    double number = 0.0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (parsed.ec != std::errc() || parsed.ptr != end || !std::isfinite(number))
        return std::nullopt;
    return number;
}

/// "0.5,1,2".
std::vector<int> exposuresIn(std::string_view text) {
    std::vector<int> exposures;
    for (;;) {
        const std::size_t comma = text.find(',');
        const std::string_view each = text.substr(0, comma);
        const auto units = exposureUnitsFromSeconds(each);
        if (!units)
            throw CommandLine::WrongUsage("\"" + std::string(each) +
                                          "\" is not 0.1 to 360 seconds in steps of 0.1");
        exposures.push_back(*units);
        if (exposures.size() > mostExposures)
            throw CommandLine::WrongUsage("more than " + std::to_string(mostExposures) +
                                          " exposures are too many");
        if (comma == std::string_view::npos)
            return exposures;
        text.remove_prefix(comma + 1);
    }
}

std::chrono::milliseconds intervalIn(const std::string& text) {
    const auto seconds = numberIn(text);
    if (!seconds || *seconds < 0.1 || *seconds > longestInterval)
        throw CommandLine::WrongUsage("\"" + text + "\" is not 0.1 to 86400 seconds");
    return std::chrono::milliseconds(std::lround(*seconds * 1000.0));
}

void addPictureOptions(const CommandLine::Options& command, CaptureOptions& options) {
    command
        .addUse<std::string>(
            "--exposure",
            [&options](const std::string& text) {
                options.isAutoExposure = text == "auto";
                if (!options.isAutoExposure)
                    options.exposures = exposuresIn(text);
            },
            "Exposure time, 0.1 to 360 in steps of 0.1; 1.5 unless given. With \"auto\" the one up to " +
                Diagnosis::secondsText(Diagnosis::longestSureExposure) +
                " that fits, found with at most four pictures. Several, as 0.5,1,2: a picture with each")
        .placeholder("SECONDS|auto");
    command
        .add("--count", options.count,
             "Take so many pictures of each camera, numbered name-1.png, name-2.png ...")
        .placeholder("N")
        .range(1, mostPictures);
    command
        .addUse<std::string>(
            "--interval", [&options](const std::string& text) { options.interval = intervalIn(text); },
            "With --count, the time from the begin of one picture to that of the next")
        .placeholder("SECONDS");
    command.add("--jobs", options.jobs, "Use so many cameras at a time; 16 unless given")
        .placeholder("N")
        .range(1, mostJobs);
}

void addFileOptions(const CommandLine::Options& command, CaptureOptions& options) {
    command
        .add("--output", options.output,
             "The grey 8-bit PNG file to write, replacing an older one; korva-ADDRESS.png unless "
             "given. Of several cameras, and where it is a folder or ends in /, the folder for these "
             "files, made if it is missing; the current one unless given. Or a pattern of " +
                 placeholderHelp() + "; what is not known of them is \"" + unknownPart +
                 "\". Or - for standard output")
        .placeholder("FILE.png|DIR|PATTERN|-")
        .check(complaintAboutOutput);
    command.addFlag("--no-clobber", options.keepsFiles, "Never replace a file").placeholder(" ");
    command
        .add("--contact-sheet", options.contactSheet,
             "Write a PNG file too that shows the pictures side by side, small, the first 100 of "
             "them, in the order of the addresses, and why others are missing. It takes no picture's "
             "place: a picture of that name gets another one")
        .placeholder("FILE.png")
        .check(complaintAboutOutput);
}

[[noreturn]] void refuse(const std::string& text, const std::string& remedy) {
    throw CommandFailure(Diagnosis::wrongUsage(text, remedy), ExitStatus::wrongUsage);
}

/// A folder called one.png is not what anybody meant.
void requireOneFilePerCamera(const CaptureOptions& options) {
    if (options.isOfSeveralCameras() && !isPattern(options.output) && isNameOfPng(options.output))
        refuse("--output " + options.output + " is one file, and there are several cameras",
               "--output DIR, or a name with {address}");
}

/// As far as the pictures' names are known before the cameras are.
void requireASheetOfItsOwn(const CaptureOptions& options) {
    if (options.contactSheet.empty())
        return;
    if (isPattern(options.contactSheet) || options.contactSheet == CaptureOptions::standardOutput)
        refuse("--contact-sheet takes the name of one file", "--contact-sheet FILE.png");
    for (const std::string& picture : picturesNamedBefore(options))
        if (isSameFile(options.contactSheet, picture))
            refuse("--contact-sheet and the picture " + picture + " are the same file",
                   "another --contact-sheet");
}

} // namespace

std::optional<int> exposureUnitsFromSeconds(std::string_view text) {
    const auto seconds = numberIn(text);
    const double units = seconds.value_or(0.0) * 10.0;
    if (!(units > 0.5 && units < longestExposure + 0.5))
        return std::nullopt;
    const auto rounded = static_cast<int>(std::lround(units));
    constexpr double tolerance = 1e-9; // 0.3 x 10 is not exactly 3
    if (std::abs(units - rounded) > tolerance || rounded < shortestExposure || rounded > longestExposure)
        return std::nullopt;
    return rounded;
}

void addCaptureOptions(const CommandLine::Options& command, CaptureOptions& options) {
    addAnyCameras(command, options.camera);
    addPictureOptions(command, options);
    addFileOptions(command, options);
    command
        .addFlag("--any-camera", options.takesAnyCamera,
                 "With --from, take pictures also if another camera than the description's is there")
        .placeholder(" ");
    addJson(command, options.json);
    addPluginOption(command, options.camera);
    command.footer(exitStatusHelp);
}

void requireThatTheyGoTogether(const CaptureOptions& options) {
    if (options.interval.count() > 0 && options.count == 1)
        refuse("--interval is the time between several pictures", "--count N too");
    requireOneFilePerCamera(options);
    requireASheetOfItsOwn(options);
    if (!options.isToStandardOutput())
        return;
    if (options.isOfSeveralCameras() || options.picturesOfEach() > 1)
        refuse("--output - is for one picture", "one ADDRESS, one --exposure and no --count");
    if (options.json)
        refuse("--output - leaves no room for --json on standard output", "--output FILE.png");
    if (Platform::isTerminal(stdout))
        refuse("--output - would write a picture to the terminal", "korva capture ... --output - > FILE.png");
}

} // namespace Console
