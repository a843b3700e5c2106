#include "Platform/CRuntime.h"

#include "HeldSignals.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace {

/// 3000-12-31 23:59:59 UTC.
constexpr __time64_t lastFormattableTime = 32'535'215'999;

constexpr std::array<const char*, 7> weekdays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr mode_t forAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

/// An ordinary file of the user's that has no other name.
bool isUsersOwn(int descriptor) {
    struct stat found {};
    return fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode) && found.st_uid == geteuid() &&
           found.st_nlink == 1;
}

int openForWriting(const char* path) {
    const int made = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, forAll);
    if (made >= 0 || errno != EEXIST)
        return made;
    // Emptied once it is known to be the user's, not by opening it; and a pipe does not keep us waiting.
    const int found = open(path, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (found < 0 || (isUsersOwn(found) && ftruncate(found, 0) == 0))
        return found;
    close(found);
    return -1;
}

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
    if (std::strcmp(mode, "wb") != 0)
        return nullptr;
    const int descriptor = openForWriting(utf8Path);
    std::FILE* const file = descriptor < 0 ? nullptr : fdopen(descriptor, mode);
    if (file == nullptr && descriptor >= 0)
        close(descriptor);
    return file;
}

std::size_t Platform::fwrite(const void* elements, std::size_t elementSize, std::size_t count,
                             std::FILE* file) {
    const HeldSignals sizeLimit;
    return std::fwrite(elements, elementSize, count, file);
}

int Platform::fclose(std::FILE* file) {
    const HeldSignals sizeLimit;
    return std::fclose(file);
}
