#include "Watching.h"

#include "CommandFailure.h"
#include "CommandRun.h"
#include "Printable.h"

#include "Diagnosis/Json.h"
#include "Platform/Kernel.h"
#include "Platform/Terminal.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ctime>

namespace Console {

namespace {

constexpr std::chrono::milliseconds pauseStep{50};

std::string timeText(const std::tm& parts, const char* format) {
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), format, &parts);
    return text.data();
}

void pauseFor(std::chrono::milliseconds time) {
    const auto begin = std::chrono::steady_clock::now();
    while (!Platform::interrupted() && std::chrono::steady_clock::now() - begin < time)
        Sleep(static_cast<DWORD>(pauseStep.count()));
}

} // namespace

std::string localTimeText(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    return timeText(*std::localtime(&seconds), "%Y-%m-%d %H:%M:%S");
}

std::string utcTimeText(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    return timeText(*std::gmtime(&seconds), "%Y-%m-%dT%H:%M:%SZ");
}

void tellNews(bool json, const std::string& words, const nlohmann::ordered_json& object) {
    const auto now = std::chrono::system_clock::now();
    if (!json)
        return say(localTimeText(now) + "  " + printable(words));
    nlohmann::ordered_json line;
    line["time"] = utcTimeText(now);
    line.update(object);
    say(Diagnosis::dumped(line));
}

bool watchUntilInterrupt(std::chrono::milliseconds pause, const std::function<void()>& look) {
    bool hasLooked = false;
    try {
        while (!Platform::interrupted()) {
            look();
            hasLooked = true;
            pauseFor(pause);
        }
    } catch (const CommandFailure& failure) {
        if (failure.status() != ExitStatus::interrupted)
            throw;
    }
    return hasLooked;
}

} // namespace Console
