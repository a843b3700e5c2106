#include "Platform/Terminal.h"

#include "Platform/Kernel.h"
#include "Platform/Program.h"
#include "Platform/StandardError.h"

#include <atomic>
#include <cstring>
#include <io.h>

namespace {

constexpr int defaultColumns = 80;

enum class AtInterrupt { end, note, endWithWords };

std::atomic<AtInterrupt> atInterrupt{AtInterrupt::end};
std::atomic<bool> interruptCame{false};
std::atomic<const char*> lastWordsAtEnd{nullptr};
std::atomic<int> statusAtEnd{0};

[[noreturn]] void endWithWords() {
    const char* const words = lastWordsAtEnd;
    DWORD written = 0;
    const auto error = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(Platform::standardError())));
    WriteFile(error, words, static_cast<DWORD>(std::strlen(words)), &written, nullptr);
    Platform::endAtOnce(statusAtEnd);
}

/// Runs on a thread that the system makes.
BOOL WINAPI handle(DWORD event) {
    constexpr auto endedByInterrupt = static_cast<int>(0xC000013A); // as the system has it
    auto what = AtInterrupt::note;
    if (atInterrupt.compare_exchange_strong(what, AtInterrupt::end)) {
        interruptCame = true;
        // When the console closes, the system ends the process as soon as this returns, or some seconds
        // later.
        if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
            Sleep(INFINITE);
        return TRUE;
    }
    if (what == AtInterrupt::endWithWords)
        endWithWords();
    Platform::endAtOnce(endedByInterrupt);
}

/// The system is told once: it waits where it is told more while a handler runs.
void setHandler(AtInterrupt what) {
    static std::atomic<bool> isSet{false};
    atInterrupt = what;
    if (!isSet.exchange(true))
        SetConsoleCtrlHandler(handle, TRUE);
}

} // namespace

bool Platform::isTerminal(std::FILE* stream) {
    DWORD mode = 0;
    return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))), &mode) != 0;
}

int Platform::terminalColumns(std::FILE* stream) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const auto console = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    if (GetConsoleScreenBufferInfo(console, &info) == 0)
        return defaultColumns;
    return info.srWindow.Right - info.srWindow.Left + 1;
}

void Platform::catchInterrupts() {
    setHandler(AtInterrupt::note);
}

void Platform::endAtInterrupts(const char* lastWords, int status) {
    lastWordsAtEnd = lastWords;
    statusAtEnd = status;
    setHandler(AtInterrupt::endWithWords);
}

// Interrupts come to a thread of their own.
void Platform::leaveSignalsToOthers() {}

void Platform::interruptOneself() {
    interruptCame = true;
}

bool Platform::interrupted() {
    return interruptCame;
}
