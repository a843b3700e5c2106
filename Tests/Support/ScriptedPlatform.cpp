#include "Support/ScriptedPlatform.h"

#include "Support/OutsidePlugin.h"
#include "Support/ScriptedFailures.h"
#include "Utf.h"

#include <ctime>
#include <optional>

using Platform::Utf::Malformed;
using TestSupport::OutsidePlugin;
using TestSupport::PlatformFailures;
using TestSupport::PlatformScript;

namespace {

DWORD lastError = ERROR_SUCCESS;

/// What the Windows converters answer for that many units; `capacity` 0 asks for the size.
int answerFor(std::optional<std::size_t> needed, int capacity) {
    if (PlatformScript::current().conversionFails || !needed)
        return 0;
    if (capacity != 0 && *needed > static_cast<std::size_t>(capacity)) {
        lastError = ERROR_INSUFFICIENT_BUFFER;
        return 0;
    }
    return static_cast<int>(*needed);
}

/// Counts a call of `function`; true where it is to fail.
bool failsNow(const char* function) {
    PlatformFailures& script = PlatformFailures::current();
    const int occurrence = ++script.occurrences[function];
    return script.failures[function].contains(occurrence);
}

} // namespace

PlatformScript& PlatformScript::current() {
    static PlatformScript script;
    return script;
}

PlatformFailures& PlatformFailures::current() {
    static PlatformFailures failures;
    return failures;
}

void Sleep(DWORD milliseconds) {
    const OutsidePlugin outside;
    PlatformScript& script = PlatformScript::current();
    if (script.onSleep)
        script.onSleep(milliseconds);
    script.sleeps.push_back(milliseconds);
    script.counter += script.frequency * milliseconds / 1000;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    const OutsidePlugin outside;
    if (failsNow("QueryPerformanceCounter"))
        return 0;
    PlatformScript& script = PlatformScript::current();
    count->QuadPart = script.counter;
    script.counter += script.counterStep;
    script.counterStep += script.counterStepGrowth;
    return 1;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    const OutsidePlugin outside;
    if (failsNow("QueryPerformanceFrequency"))
        return 0;
    frequency->QuadPart = PlatformScript::current().frequency;
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
    const auto capacity = static_cast<std::size_t>(wideCount);
    return answerFor(Platform::Utf::wideFromUtf8(text, static_cast<std::size_t>(textBytes),
                                                 Malformed::substitute, wide, capacity),
                     wideCount);
}

int WideCharToMultiByte(UINT, DWORD, LPCWCH wide, int wideCount, LPSTR text, int textBytes, LPCCH, LPBOOL) {
    const auto capacity = static_cast<std::size_t>(textBytes);
    return answerFor(Platform::Utf::utf8FromWide(wide, static_cast<std::size_t>(wideCount),
                                                 Malformed::substitute, text, capacity),
                     textBytes);
}

__time64_t _time64(__time64_t* now) {
    const OutsidePlugin outside;
    const __time64_t seconds = failsNow("_time64") ? -1 : PlatformScript::current().secondsSince1970;
    if (now != nullptr)
        *now = seconds;
    return seconds;
}

char* _ctime64(const __time64_t* when) {
    const OutsidePlugin outside;
    PlatformScript& script = PlatformScript::current();
    if (failsNow("_ctime64") || script.timeTextFails)
        return nullptr;
    if (!script.timeText.empty())
        return script.timeText.data();
    static char text[32];
    const std::time_t seconds = *when;
    std::tm broken{};
    gmtime_r(&seconds, &broken);
    std::strftime(text, sizeof text, "%a %b %d %H:%M:%S %Y\n", &broken);
    return text;
}

std::FILE* Platform::fopen(const char* utf8Path, const char* mode) {
    const OutsidePlugin outside;
    PlatformScript& script = PlatformScript::current();
    script.fileCalls.push_back(std::string("fopen ") + utf8Path + " " + mode);
    std::FILE* const file = failsNow("fopen") || script.openFails ? nullptr : std::fopen(utf8Path, mode);
    PlatformFailures::current().openFiles += file == nullptr ? 0 : 1;
    return file;
}

std::size_t Platform::fwrite(const void* elements, std::size_t elementSize, std::size_t count,
                             std::FILE* file) {
    const OutsidePlugin outside;
    PlatformScript& script = PlatformScript::current();
    script.fileCalls.push_back("fwrite " + std::to_string(elementSize) + " " + std::to_string(count));
    return failsNow("fwrite") || script.writeFails ? 0 : std::fwrite(elements, elementSize, count, file);
}

int Platform::fclose(std::FILE* file) {
    const OutsidePlugin outside;
    PlatformScript& script = PlatformScript::current();
    script.fileCalls.emplace_back("fclose");
    const int result = std::fclose(file);
    --PlatformFailures::current().openFiles;
    return failsNow("fclose") || script.closeFails ? EOF : result;
}
