#include "Platform/Terminal.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int defaultColumns = 80;

std::atomic<bool> interruptCame{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler stores it");

void setHandler(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    for (const int interrupt : {SIGINT, SIGTERM})
        sigaction(interrupt, &action, nullptr);
}

extern "C" void noteInterrupt(int) {
    const int errorBefore = errno;
    interruptCame = true;
    setHandler(SIG_DFL);
    errno = errorBefore;
}

} // namespace

bool Platform::isTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

int Platform::terminalColumns(std::FILE* stream) {
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return defaultColumns;
    return size.ws_col;
}

void Platform::catchInterrupts() {
    setHandler(noteInterrupt);
}

bool Platform::interrupted() {
    return interruptCame;
}

bool Platform::flushToDevice(std::FILE* file) {
    if (std::fflush(file) != 0)
        return false;
    int result = 0;
    do {
        result = fsync(fileno(file));
    } while (result != 0 && errno == EINTR);
    // A pipe or a device without a cache has nothing to flush.
    return result == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}
