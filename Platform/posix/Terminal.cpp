#include "Platform/Terminal.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
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

std::atomic<const char*> lastWordsAtEnd{nullptr};
std::atomic<int> statusAtEnd{0};
static_assert(std::atomic<const char*>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler reads them");

extern "C" void endProcess(int) {
    const char* const words = lastWordsAtEnd;
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, words, std::strlen(words));
    _exit(statusAtEnd);
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

void Platform::endAtInterrupts(const char* lastWords, int status) {
    lastWordsAtEnd = lastWords;
    statusAtEnd = status;
    setHandler(endProcess);
}

void Platform::leaveSignalsToOthers() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void Platform::interruptOneself() {
    interruptCame = true;
}

bool Platform::interrupted() {
    return interruptCame;
}
