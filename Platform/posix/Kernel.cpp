#include "Platform/Kernel.h"

#include "Utf.h"

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <limits>
#include <optional>
#include <sched.h>
#include <time.h>

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

thread_local DWORD lastError = ERROR_SUCCESS;

int failWith(DWORD code) {
    lastError = code;
    return 0;
}

/// The length of a text given as `count` units, or as -1 and zero-terminated; nothing for other values.
template <class Unit, class Length>
std::optional<std::size_t> unitsOf(const Unit* text, int count, Length length) {
    if (text == nullptr || count == 0 || count < -1)
        return std::nullopt;
    return count == -1 ? length(text) + 1 : static_cast<std::size_t>(count);
}

bool isValidDestination(const void* source, const void* destination, int capacity) {
    if (capacity < 0)
        return false;
    return capacity == 0 || (destination != nullptr && destination != source);
}

/// A conversion's result from the number of units it takes.
int resultOf(std::optional<std::size_t> needed, int capacity) {
    if (!needed)
        return failWith(ERROR_NO_UNICODE_TRANSLATION);
    if (*needed > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return failWith(ERROR_INVALID_PARAMETER);
    if (capacity != 0 && *needed > static_cast<std::size_t>(capacity))
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    return static_cast<int>(*needed);
}

} // namespace

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    // To a moment, not for a duration: what a signal interrupts then goes on without a sum of its own.
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    const std::int64_t nanoseconds = end.tv_nsec + std::int64_t{milliseconds} * 1'000'000;
    end.tv_sec += static_cast<time_t>(nanoseconds / nanosecondsPerSecond);
    end.tv_nsec = static_cast<long>(nanoseconds % nanosecondsPerSecond);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    count->QuadPart = std::int64_t{now.tv_sec} * nanosecondsPerSecond + now.tv_nsec;
    return 1;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
    frequency->QuadPart = nanosecondsPerSecond;
    return 1;
}

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD code) {
    lastError = code;
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH text, int textBytes, LPWSTR wide, int wideCount) {
    const auto bytes = unitsOf(text, textBytes, [](LPCCH whole) { return std::strlen(whole); });
    if (codePage != CP_UTF8 || !bytes || !isValidDestination(text, wide, wideCount))
        return failWith(ERROR_INVALID_PARAMETER);
    if ((flags & ~MB_ERR_INVALID_CHARS) != 0)
        return failWith(ERROR_INVALID_FLAGS);

    using namespace Platform::Utf;
    const auto malformed = flags == 0 ? Malformed::substitute : Malformed::refuse;
    const auto capacity = static_cast<std::size_t>(wideCount);
    return resultOf(wideFromUtf8(text, *bytes, malformed, wide, capacity), wideCount);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH wide, int wideCount, LPSTR text, int textBytes,
                        LPCCH defaultCharacter, LPBOOL usedDefault) {
    const auto units = unitsOf(wide, wideCount, [](LPCWCH whole) { return std::wcslen(whole); });
    if (codePage != CP_UTF8 || !units || !isValidDestination(wide, text, textBytes))
        return failWith(ERROR_INVALID_PARAMETER);
    if (defaultCharacter != nullptr || usedDefault != nullptr)
        return failWith(ERROR_INVALID_PARAMETER);
    if ((flags & ~WC_ERR_INVALID_CHARS) != 0)
        return failWith(ERROR_INVALID_FLAGS);

    using namespace Platform::Utf;
    const auto malformed = flags == 0 ? Malformed::substitute : Malformed::refuse;
    const auto capacity = static_cast<std::size_t>(textBytes);
    return resultOf(utf8FromWide(wide, *units, malformed, text, capacity), textBytes);
}
