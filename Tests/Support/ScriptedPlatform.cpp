#include "Support/ScriptedPlatform.h"

#include "posix/Utf.h"

#include <ctime>

using TestSupport::PlatformScript;

namespace {

DWORD lastError = ERROR_SUCCESS;

/// The converters' result where `needed` units are wanted; `capacity` 0 asks for that number.
int resultOf(std::size_t needed, int capacity) {
    if (capacity == 0 || needed <= static_cast<std::size_t>(capacity))
        return static_cast<int>(needed);
    lastError = ERROR_INSUFFICIENT_BUFFER;
    return 0;
}

} // namespace

PlatformScript& PlatformScript::current() {
    static PlatformScript script;
    return script;
}

void Sleep(DWORD milliseconds) {
    PlatformScript& script = PlatformScript::current();
    if (script.onSleep)
        script.onSleep(milliseconds);
    script.sleeps.push_back(milliseconds);
    script.counter += script.frequency * milliseconds / 1000;
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    PlatformScript& script = PlatformScript::current();
    count->QuadPart = script.counter;
    script.counter += script.counterStep;
    return 1;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    frequency->QuadPart = PlatformScript::current().frequency;
    return 1;
}

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD code) {
    lastError = code;
}

// As the real ones do for valid arguments; the converters' own rules are the platform's tests' affair.
int MultiByteToWideChar(UINT, DWORD, LPCCH text, int textBytes, LPWSTR wide, int wideCount) {
    if (PlatformScript::current().conversionFails)
        return 0;
    const auto needed = Platform::Utf::wideFromUtf8(text, static_cast<std::size_t>(textBytes),
                                                    Platform::Utf::Malformed::substitute, wide,
                                                    static_cast<std::size_t>(wideCount));
    return resultOf(needed.value(), wideCount);
}

int WideCharToMultiByte(UINT, DWORD, LPCWCH wide, int wideCount, LPSTR text, int textBytes, LPCCH, LPBOOL) {
    if (PlatformScript::current().conversionFails)
        return 0;
    const auto needed = Platform::Utf::utf8FromWide(wide, static_cast<std::size_t>(wideCount),
                                                    Platform::Utf::Malformed::substitute, text,
                                                    static_cast<std::size_t>(textBytes));
    return resultOf(needed.value(), textBytes);
}

__time64_t _time64(__time64_t* now) {
    const __time64_t seconds = PlatformScript::current().secondsSince1970;
    if (now != nullptr)
        *now = seconds;
    return seconds;
}

char* _ctime64(const __time64_t* when) {
    if (PlatformScript::current().timeTextFails)
        return nullptr;
    static char text[32];
    const std::time_t seconds = *when;
    std::tm broken{};
    gmtime_r(&seconds, &broken);
    std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y\n", &broken);
    return text;
}

std::FILE* Platform::fopen(const char* utf8Path, const char* mode) {
    PlatformScript& script = PlatformScript::current();
    script.fileCalls.push_back(std::string("fopen ") + utf8Path + " " + mode);
    return script.openFails ? nullptr : std::fopen(utf8Path, mode);
}

std::size_t Platform::fwrite(const void* elements, std::size_t elementSize, std::size_t count,
                             std::FILE* file) {
    PlatformScript& script = PlatformScript::current();
    script.fileCalls.push_back("fwrite " + std::to_string(elementSize) + " " + std::to_string(count));
    return script.writeFails ? 0 : std::fwrite(elements, elementSize, count, file);
}

int Platform::fclose(std::FILE* file) {
    PlatformScript& script = PlatformScript::current();
    script.fileCalls.emplace_back("fclose");
    const int result = std::fclose(file);
    return script.closeFails ? EOF : result;
}
