#include "World/System.h"

#include "Platform/CRuntime.h"
#include "Platform/Kernel.h"
#include "Support/OutsidePlugin.h"
#include "Utf.h"
#include "World/Calls.h"
#include "World/Clock.h"
#include "World/Network.h"
#include "World/Sight.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>

using namespace std::chrono_literals;
using Platform::Utf::Malformed;
using TestSupport::OutsidePlugin;
using World::Calls;
using World::System;

namespace {

/// Not zero: a time that was left out would pass for it.
constexpr World::Time beginning{24h};
World::Time present = beginning;

DWORD lastError = ERROR_SUCCESS;

/// Notes a call; true where it is to fail.
bool fails(const std::string& line) {
    return Calls::current().enter(line).has_value();
}

/// What the Windows converters answer for that many units; `capacity` 0 asks for the size.
int answerFor(const char* function, std::optional<std::size_t> needed, int capacity) {
    if (Calls::current().planned(function) || !needed)
        return 0;
    if (capacity != 0 && *needed > static_cast<std::size_t>(capacity)) {
        lastError = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    return static_cast<int>(*needed);
}

/// In the standard library's own way: std::gmtime's result is one for all threads.
std::tm partsOf(std::chrono::sys_seconds moment) {
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss time(moment - day);
    std::tm parts{};
    parts.tm_year = static_cast<int>(date.year()) - 1900;
    parts.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    parts.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    parts.tm_wday = static_cast<int>(std::chrono::weekday(day).c_encoding());
    parts.tm_hour = static_cast<int>(time.hours().count());
    parts.tm_min = static_cast<int>(time.minutes().count());
    parts.tm_sec = static_cast<int>(time.seconds().count());
    return parts;
}

} // namespace

World::Time World::now() {
    return present;
}

World::Duration World::elapsed() {
    return present - beginning;
}

void World::advance(Duration duration) {
    present += duration;
}

void World::waitUntil(Time moment) {
    present = std::max(present, moment);
}

void World::reset() {
    present = beginning;
    Calls::current() = {};
    Network::current() = {};
    Sight::current() = {};
    System::current() = {};
}

System& System::current() {
    static System system;
    return system;
}

Platform::Clock::time_point Platform::Clock::now() noexcept {
    return present;
}

void Sleep(DWORD milliseconds) {
    const OutsidePlugin outside;
    Calls::current().enter("Sleep " + std::to_string(milliseconds));
    World::advance(std::chrono::milliseconds(milliseconds));
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    const OutsidePlugin outside;
    if (fails("QueryPerformanceCounter"))
        return 0;
    const System& system = System::current();
    const std::int64_t passed = World::elapsed().count();
    constexpr std::int64_t second = std::chrono::nanoseconds(1s).count();
    count->QuadPart =
        system.counter + passed / second * system.frequency + passed % second * system.frequency / second;
    return 1;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    const OutsidePlugin outside;
    if (fails("QueryPerformanceFrequency"))
        return 0;
    frequency->QuadPart = System::current().frequency;
    return 1;
}

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD code) {
    lastError = code;
}

// Counts and flags are the platform's tests' affair; here they are what Platform/Text.h passes.
int MultiByteToWideChar(UINT, DWORD, LPCCH text, int textBytes, LPWSTR wide, int wideCount) {
    const auto needed =
        Platform::Utf::wideFromUtf8(text, static_cast<std::size_t>(textBytes), Malformed::substitute, wide,
                                    static_cast<std::size_t>(wideCount));
    return answerFor("MultiByteToWideChar", needed, wideCount);
}

int WideCharToMultiByte(UINT, DWORD, LPCWCH wide, int wideCount, LPSTR text, int textBytes, LPCCH, LPBOOL) {
    const auto needed =
        Platform::Utf::utf8FromWide(wide, static_cast<std::size_t>(wideCount), Malformed::substitute, text,
                                    static_cast<std::size_t>(textBytes));
    return answerFor("WideCharToMultiByte", needed, textBytes);
}

__time64_t _time64(__time64_t* now) {
    const OutsidePlugin outside;
    const __time64_t seconds = fails("_time64") ? -1 : System::current().secondsSince1970;
    if (now != nullptr)
        *now = seconds;
    return seconds;
}

char* _ctime64(const __time64_t* when) {
    const OutsidePlugin outside;
    if (fails("_ctime64"))
        return nullptr;
    std::string& chosen = System::current().timeText;
    if (!chosen.empty())
        return chosen.data();
    static char text[32];
    const std::tm parts = partsOf(std::chrono::sys_seconds(std::chrono::seconds(*when)));
    std::strftime(text, sizeof text, "%a %b %d %H:%M:%S %Y\n", &parts);
    return text;
}

std::FILE* Platform::fopen(const char* utf8Path, const char* mode) {
    const OutsidePlugin outside;
    const bool isRefused = fails(std::string("fopen ") + utf8Path + " " + mode);
    std::FILE* const file = isRefused ? nullptr : World::openFile(utf8Path, mode);
    System::current().openFiles += file == nullptr ? 0 : 1;
    return file;
}

std::size_t Platform::fwrite(const void* elements, std::size_t elementSize, std::size_t count,
                             std::FILE* file) {
    const OutsidePlugin outside;
    const bool isRefused = fails("fwrite " + std::to_string(elementSize) + " " + std::to_string(count));
    return isRefused ? 0 : std::fwrite(elements, elementSize, count, file);
}

int Platform::fclose(std::FILE* file) {
    const OutsidePlugin outside;
    const int result = std::fclose(file);
    --System::current().openFiles;
    return fails("fclose") ? EOF : result;
}
