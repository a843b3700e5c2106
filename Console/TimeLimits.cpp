#include "TimeLimits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace Console {

namespace {

constexpr auto group = "Limits";
constexpr double mostSeconds = 86'400.0;
constexpr std::size_t mostBytesPerSecond = 1'000'000'000;

/// A time of `least` to `mostSeconds` seconds, whole milliseconds.
TimeLimits::Time timeOf(const std::string& text, double least) {
    double seconds = -1.0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, seconds, std::chars_format::fixed);
    if (parsed.ec != std::errc() || parsed.ptr != end || !(seconds >= least && seconds <= mostSeconds))
        throw CommandLine::WrongUsage("\"" + text + "\" is not " + (least > 0.0 ? "0.1" : "0") +
                                      " to 86400 seconds");
    return TimeLimits::Time(std::lround(std::ceil(seconds * 1000.0)));
}

} // namespace

TimeLimits::Time TimeLimits::ofListening() const {
    // Honest cameras answer within the first half second.
    constexpr Time untroubled = std::chrono::milliseconds(1500);
    const Time half = ofSearch() / 2;
    return isTooShortToListen() ? half : std::max(half, untroubled);
}

TimeLimits::Time TimeLimits::ofPicture(int exposureUnits) const {
    return ofEachStep.value_or(std::chrono::milliseconds(100) * exposureUnits + std::chrono::seconds(60));
}

void addTimeLimits(const CommandLine::Options& command, TimeLimits& limits) {
    command
        .addUse<std::string>(
            "--max-time", [&limits](const std::string& text) { limits.ofEachStep = timeOf(text, 0.0); },
            "The longest that each search, identification, picture and connection check may take, 0 for any "
            "time; 60 for a search, 20 for an identification, 60 and the exposure for a picture, 15 for a "
            "check unless given")
        .placeholder("SECONDS")
        .group(group);
    command
        .add("--min-speed", limits.bytesPerSecond,
             "Give up a picture that comes more slowly on the average of --speed-time, 0 for any speed; "
             "65536 unless given")
        .placeholder("BYTES/S")
        .range(std::size_t{0}, mostBytesPerSecond)
        .group(group);
    command
        .addUse<std::string>(
            "--speed-time", [&limits](const std::string& text) { limits.speedTime = timeOf(text, 0.1); },
            "Over how long the speed is averaged; 30 unless given")
        .placeholder("SECONDS")
        .group(group);
}

} // namespace Console
