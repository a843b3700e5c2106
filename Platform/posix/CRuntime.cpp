#include "Platform/CRuntime.h"

#include <array>
#include <time.h>

namespace {

/// 3000-12-31 23:59:59 UTC.
constexpr __time64_t lastFormattableTime = 32'535'215'999;

constexpr std::array<const char*, 7> weekdays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

} // namespace

__time64_t _time64(__time64_t* now) {
    const __time64_t seconds = ::time(nullptr);
    if (now != nullptr)
        *now = seconds;
    return seconds;
}

char* _ctime64(const __time64_t* when) {
    if (when == nullptr || *when < 0 || *when > lastFormattableTime)
        return nullptr;
    const auto seconds = static_cast<time_t>(*when);
    tm local{};
    if (localtime_r(&seconds, &local) == nullptr)
        return nullptr;

    // Not asctime_r, which pads the day with a blank where Windows has a zero.
    thread_local std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%s %s %02d %02d:%02d:%02d %04d\n",
                  weekdays[static_cast<std::size_t>(local.tm_wday)],
                  months[static_cast<std::size_t>(local.tm_mon)], local.tm_mday, local.tm_hour, local.tm_min,
                  local.tm_sec, local.tm_year + 1900);
    return text.data();
}

std::FILE* Platform::fopen(const char* utf8Path, const char* mode) {
    return std::fopen(utf8Path, mode);
}

std::size_t Platform::fwrite(const void* elements, std::size_t elementSize, std::size_t count,
                             std::FILE* file) {
    return std::fwrite(elements, elementSize, count, file);
}

int Platform::fclose(std::FILE* file) {
    return std::fclose(file);
}
