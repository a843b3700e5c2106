#include "ProgressBar.h"

#include "Diagnosis/PictureRules.h"
#include "Platform/Terminal.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace Console {

namespace {

/// Headers and checksums are shorter than this, and nobody needs a bar for them.
constexpr std::size_t smallestPicture = 17;

constexpr auto redrawInterval = std::chrono::milliseconds(100);

std::string inUnits(double bytes) {
    constexpr std::array<const char*, 4> units = {"B", "kB", "MB", "GB"};
    std::size_t unit = 0;
    while (bytes >= 1000.0 && unit + 1 < units.size()) {
        bytes /= 1000.0;
        ++unit;
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text.data();
}

} // namespace

std::string progressText(std::uint64_t received, std::uint64_t expected, double seconds, int columns) {
    std::string numbers =
        inUnits(static_cast<double>(received)) + " of " + inUnits(static_cast<double>(expected));
    if (seconds > 0.0)
        numbers += ", " + inUnits(static_cast<double>(received) / seconds) + "/s";

    const int room = columns - 1;
    if (static_cast<int>(numbers.size()) > room)
        return numbers.substr(0, static_cast<std::size_t>(std::max(room, 0)));
    constexpr int widestBar = 40;
    constexpr int narrowestBar = 8;
    const int width = std::min(widestBar, room - static_cast<int>(numbers.size()) - 3);
    if (width < narrowestBar)
        return numbers;
    const double share =
        expected == 0 ? 0.0 : std::min(1.0, static_cast<double>(received) / static_cast<double>(expected));
    const auto filled = static_cast<std::size_t>(share * width);
    std::string bar(static_cast<std::size_t>(width), '.');
    std::fill_n(bar.begin(), filled, '#');
    return std::string(1, '[') + bar + "] " + numbers;
}

std::string exposingText(double seconds, int exposureUnits) {
    const auto passed = std::min(static_cast<int>(seconds), exposureUnits / 10);
    return "exposing " + std::to_string(passed) + "/" + Diagnosis::secondsText(exposureUnits) + " s";
}

bool isObedient(std::FILE* stream) {
    const char* const kind = std::getenv("TERM");
    return Platform::isTerminal(stream) && (kind == nullptr || std::string_view(kind) != "dumb");
}

bool isColourWanted(std::FILE* stream) {
    const char* const unwanted = std::getenv("NO_COLOR");
    return (unwanted == nullptr || *unwanted == '\0') && isObedient(stream);
}

ProgressBar::ProgressBar(std::FILE* stream)
    : stream_(stream), enabled_(stream != nullptr && isObedient(stream)) {}

ProgressBar::~ProgressBar() {
    erase();
}

void ProgressBar::observe(std::size_t received, std::size_t expected) {
    const bool goesOn = readReceived_ > 0 && expected == readExpected_ - readReceived_;
    const bool sameRead = expected == readExpected_ && received >= readReceived_;
    if (!goesOn && !sameRead && expected < smallestPicture)
        return;

    const auto now = Clock::now();
    if (goesOn) {
        receivedBefore_ += readReceived_;
    } else if (!sameRead) {
        receivedBefore_ = 0;
        pictureStart_ = now;
    }
    readExpected_ = expected;
    readReceived_ = received;
    if (!isDue(now))
        return;
    const double seconds = std::chrono::duration<double>(now - pictureStart_).count();
    draw(progressText(this->received(), this->expected(), seconds, Platform::terminalColumns(stream_)));
}

void ProgressBar::show(const std::string& text) {
    if (!isDue(Clock::now()))
        return;
    const int columns = Platform::terminalColumns(stream_);
    draw(text.substr(0, static_cast<std::size_t>(std::max(columns - 1, 0))));
}

bool ProgressBar::isDue(Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    return enabled_ && (!shown_ || now - lastDrawn_ >= redrawInterval);
}

void ProgressBar::draw(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (shown_ && text == text_)
        return;
    std::fprintf(stream_, "\r\x1b[K%s", text.c_str());
    std::fflush(stream_);
    shown_ = true;
    text_ = text;
    lastDrawn_ = Clock::now();
}

void ProgressBar::erase() {
    const std::lock_guard lock(mutex_);
    if (!shown_)
        return;
    std::fputs("\r\x1b[K", stream_);
    std::fflush(stream_);
    shown_ = false;
}

} // namespace Console
