#include "CaptureOptions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace Console {

namespace {

constexpr int fewestUnits = 1;
constexpr int mostUnits = 3600;
constexpr int mostPictures = 9999;

/// Longer than any address but one that somebody made up; no name of a file may be longer than 255 bytes.
constexpr std::size_t mostAddressInName = 64;

std::string defaultOutput(const std::string& address) {
    static constexpr std::string_view kept =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-";
    std::string name = address.substr(0, mostAddressInName);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return kept.find(c) == std::string_view::npos; }, '_');
    return "korva-" + name + ".png";
}

} // namespace

std::optional<int> exposureUnitsFromSeconds(std::string_view text) {
    double seconds = 0.0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, seconds, std::chars_format::fixed);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        return std::nullopt;
    const double units = seconds * 10.0;
    if (!(units > 0.5 && units < mostUnits + 0.5))
        return std::nullopt;
    const auto rounded = static_cast<int>(std::lround(units));
    constexpr double tolerance = 1e-9; // 0.3 x 10 is not exactly 3
    if (std::abs(units - rounded) > tolerance || rounded < fewestUnits || rounded > mostUnits)
        return std::nullopt;
    return rounded;
}

void addCaptureOptions(const CommandLine::Options& command, CaptureOptions& options) {
    addAnyCameras(command, options.camera);
    command
        .addUse<std::string>(
            "--exposure",
            [&options](const std::string& text) {
                const auto units = exposureUnitsFromSeconds(text);
                if (!units)
                    throw CommandLine::WrongUsage("\"" + text +
                                                  "\" is not 0.1 to 360 seconds in steps of 0.1");
                options.exposureUnits = *units;
            },
            "Exposure time, 0.1 to 360 in steps of 0.1; 1.5 unless given")
        .placeholder("SECONDS");
    command
        .add("--count", options.count,
             "Take so many pictures of each camera, numbered name-1.png, name-2.png ...")
        .placeholder("N")
        .range(1, mostPictures);
    command
        .add("--output", options.output,
             "The grey 8-bit PNG file to write, replacing an older one; korva-ADDRESS.png unless "
             "given. With --all "
             "the folder for these files, made if it is missing; the current one unless given")
        .placeholder("FILE.png|DIR");
    command
        .add("--contact-sheet", options.contactSheet,
             "Write a PNG file too that shows the pictures side by side, small, the first 100 of them")
        .placeholder("FILE.png");
    command.addFlag("--json", options.json, "Print one JSON object on standard output instead of words")
        .placeholder(" ");
    addPluginOption(command, options.camera);
    command.footer("Exit status: 0 done; 1 the camera, the network or the disk failed, or Ctrl-C; 2 wrong "
                   "usage.");
}

std::string pictureFileName(const CaptureOptions& options, const std::string& address, int number) {
    std::string name = options.output.empty() ? defaultOutput(address) : options.output;
    if (options.camera.all && !options.output.empty())
        name = options.output + (options.output.ends_with('/') ? "" : "/") + defaultOutput(address);
    if (options.count == 1)
        return name;
    const std::size_t nameStart = name.find_last_of('/') + 1; // npos + 1 is 0
    const std::size_t dot = name.find_last_of('.');
    const bool hasExtension = dot != std::string::npos && dot > nameStart;
    const std::size_t stemEnd = hasExtension ? dot : name.size();
    return name.substr(0, stemEnd) + "-" + std::to_string(number) + name.substr(stemEnd);
}

} // namespace Console
