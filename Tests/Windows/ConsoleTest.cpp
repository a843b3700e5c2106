// What programs do with the console that they are started in. Each runs as a process of its own, in this
// one's console.

#include "Platform/Kernel.h"
#include "Platform/Program.h"
#include "Platform/Terminal.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <utility>

using testing::ExitedWithCode;

namespace {

constexpr int doneStatus = 7;
constexpr int badStatus = 99;
constexpr int endedByInterrupt = static_cast<int>(0xC000013A);
constexpr DWORD closed = CTRL_CLOSE_EVENT;
constexpr DWORD interrupt = CTRL_BREAK_EVENT;

/// Its code page, and what it does with what is written to it.
std::pair<UINT, DWORD> consoleState() {
    DWORD mode = 0;
    const HANDLE console =
        CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    GetConsoleMode(console, &mode);
    CloseHandle(console);
    return {GetConsoleOutputCP(), mode};
}

/// The handlers of `event`, called as the system calls them: on a thread of their own.
HANDLE startHandlers(DWORD event) {
    const auto handlers = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine")));
    return CreateThread(nullptr, 0, handlers, reinterpret_cast<void*>(static_cast<std::uintptr_t>(event)), 0,
                        nullptr);
}

void useTheConsole() {
    constexpr DWORD obeysEscapes = 0x0004;
    Platform::useUtf8();
    const auto [codePage, mode] = consoleState();
    if (codePage != CP_UTF8 || (mode & obeysEscapes) == 0)
        std::_Exit(badStatus);
}

void awaitInterrupt() {
    while (!Platform::interrupted()) // until the test's limit of time
        Sleep(1);                    // for another thread
}

struct WayOut {
    const char* name;
    int status;
    void (*take)();
};

const WayOut waysOut[] = {
    {"the end", doneStatus,
     [] {
         useTheConsole();
         std::exit(doneStatus);
     }},
    {"the end of what left a thread behind", doneStatus,
     [] {
         useTheConsole();
         Platform::endAtOnce(doneStatus);
     }},
    {"an interrupt that ends", doneStatus,
     [] {
         Platform::endAtInterrupts("last words", doneStatus);
         useTheConsole();
         WaitForSingleObject(startHandlers(interrupt), INFINITE);
     }},
    {"a second interrupt", endedByInterrupt,
     [] {
         Platform::endAtInterrupts("last words", doneStatus);
         useTheConsole();
         Platform::catchInterrupts();
         WaitForSingleObject(startHandlers(interrupt), INFINITE);
         if (Platform::interrupted())
             WaitForSingleObject(startHandlers(interrupt), INFINITE);
     }},
};

} // namespace

TEST(Console, IsAsItWasBeforeHoweverAProgramEnds) {
    const auto before = consoleState();
    ASSERT_NE(before.first, 0u) << "there is no console";
    ASSERT_NE(before.first, UINT{CP_UTF8});
    for (const WayOut& way : waysOut) {
        EXPECT_EXIT(way.take(), ExitedWithCode(way.status), "") << way.name;
        EXPECT_EQ(consoleState(), before) << way.name;
    }
}

TEST(Console, ThatClosesLeavesTheProgramTimeToEnd) {
    const auto end = [] {
        Platform::endAtInterrupts("last words", doneStatus);
        Platform::catchInterrupts();
        const HANDLE handlers = startHandlers(closed);
        awaitInterrupt();
        constexpr DWORD milliseconds = 200; // the system ends the process as soon as they return
        const bool returned = WaitForSingleObject(handlers, milliseconds) != WAIT_TIMEOUT;
        Platform::catchInterrupts(); // waits for nobody
        std::exit(returned ? badStatus : doneStatus);
    };
    EXPECT_EXIT(end(), ExitedWithCode(doneStatus), "^$");
}

TEST(Console, ThatClosesEndsAProgramThatHasNothingToEnd) {
    const auto end = [] {
        Platform::endAtInterrupts("last words", doneStatus);
        WaitForSingleObject(startHandlers(closed), INFINITE);
    };
    EXPECT_EXIT(end(), ExitedWithCode(doneStatus), "^last words$");
}
